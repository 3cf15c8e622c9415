#include "bus.h"
#include "options.h"
#include "program_files.h"
#include "scenario_reader.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iostream>
#include <system_error>
#include <unistd.h>

namespace {

using namespace ZunicDemo;

constexpr int cExitUsage = 2;

/// Without them the channel or a participant's connection would become one, and take what is printed.
void checkStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) == -1) {
            throw std::runtime_error("standard stream " + std::to_string(stream) + " is closed");
        }
    }
}

std::string scenarioFileFor(const Options& options)
{
    return options.scenarioFile ? *options.scenarioFile
                                : findProgramFile("scenarios/small.json", ZUNIC_DEMO_DATA_FROM_BIN).string();
}

Scenario readScenarioFor(const Options& options, const std::string& file)
{
    Scenario scenario = readScenarioFile(file);
    scenario.channel = options.channel.value_or(scenario.channel);
    if (options.churnRate && interfaceCount(scenario) + 2 > ZunicHosting::cInterfaceCapacity) {
        throw ScenarioMistake(file + ": expected at most 1022 interfaces for --churn, not " +
                              std::to_string(interfaceCount(scenario)));
    }
    if (options.churnRate && !scenario.traffic.empty()) {
        throw ScenarioMistake(file + ": expected no traffic for --churn");
    }
    if (options.truthFile && scenario.traffic.empty()) {
        throw ScenarioMistake(file + ": expected traffic for --truth");
    }
    return scenario;
}

[[noreturn]] void failToWrite(const std::string& file)
{
    throw std::system_error(errno, std::generic_category(), "cannot write " + file);
}

/// The file of --truth; not open without it.
std::ofstream openTruthFile(const Options& options)
{
    std::ofstream file;
    if (options.truthFile) {
        file.open(*options.truthFile, std::ios::binary);
        if (!file) {
            failToWrite(*options.truthFile);
        }
    }
    return file;
}

void host(const Scenario& scenario, const Options& options)
{
    std::ofstream truth = openTruthFile(options);
    const StopSignals signals;
    Bus bus(scenario, options.group, signals);
    if (options.churnRate) {
        bus.startChurn(*options.churnRate);
    }
    if (!scenario.traffic.empty()) {
        bus.startTraffic(scenario, options.truthFile.has_value());
    }
    std::cout << "channel " << scenario.channel << " is ready: " << summary(scenario) << " (stop with Ctrl-C)"
              << std::endl;
    bus.run();
    if (options.truthFile) {
        bus.writeTruth(scenario, truth);
        if (!truth.flush()) {
            failToWrite(*options.truthFile);
        }
    }
}

void serve(const Options& options)
{
    const std::string file = scenarioFileFor(options);
    const Scenario scenario = readScenarioFor(options, file);
    if (options.checkOnly) {
        std::cout << file << ": OK, " << summary(scenario) << '\n';
        return;
    }
    try {
        host(scenario, options);
    } catch (const StopRequested&) {
        // Stopped before it was ready; everything is taken down by now.
    }
}

} // namespace

int main(int argumentCount, char** arguments)
{
    try {
        checkStandardStreams();
        if (const std::optional<Options> options = readOptions(argumentCount, arguments)) {
            serve(*options);
        }
        return EXIT_SUCCESS;
    } catch (const UsageMistake& mistake) {
        std::cerr << "zunic_demo_bus: " << mistake.what() << '\n';
        return cExitUsage;
    } catch (const ScenarioMistake& mistake) {
        std::cerr << mistake.what() << '\n';
        return cExitUsage;
    } catch (const std::exception& error) {
        std::cerr << "zunic_demo_bus: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
