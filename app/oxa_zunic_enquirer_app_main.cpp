#include "app/oxa_zunic_enquirer_app_main.h"

#include "app/option_table.h"
#include "app/query_filters.h"
#include "enquirer/oxa_zunic_enquirer.h"

#include <csignal>
#include <dlt/dlt.h>
#include <iostream>
#include <list>
#include <string>

namespace {

struct RunSettings
{
    std::string channelName = "OXABus";
    std::string outputDirectory = "./enquirer_output";
};

/// The library's threads start without taking signals, and for good: else the kernel could hand one of them the Ctrl-C
/// that the thread which holds the registry mutex puts off.
void registerWithDlt()
{
    sigset_t all;
    sigset_t previous;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &previous);
    dlt_check_library_version("2", "17");
    dlt_register_app("OZEN", "Zunic Enquirer");
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    // Without this the library's exit handler waits for ten seconds when no daemon is there to take its messages.
    dlt_set_resend_timeout_atexit(0);
}

std::string valueOf(const OxaCommandLineOptionString& option, const char* absent = "")
{
    if (!option.isSet()) {
        return absent;
    }
    const char* value = nullptr;
    option.getArgumentValue(value);
    return value != nullptr ? value : "";
}

/// Returns the result of the last value fetched, cOk when none was.
OxaResult readSettings(const OptionTable& options, RunSettings& settings)
{
    OxaResult result = OxaResult::cOk;
    if (options.outputDirectory.isSet()) {
        const char* value = nullptr;
        result = options.outputDirectory.getArgumentValue(value);
        settings.outputDirectory = value != nullptr ? value : "";
    }
    if (options.channelName != nullptr && options.channelName->hasValues()) {
        std::list<std::string> values;
        result = options.channelName->getValues(values);
        if (result == OxaResult::cOk && !values.empty()) {
            settings.channelName = values.front();
        }
    }
    return result;
}

/// True, with `value` set, when the option is given and its word recognised; another word is warned of and ignored.
template <typename Value>
bool readFilter(const OxaCommandLineOptionString& option, const char* what, bool recognise(const char*, Value&),
                Value& value)
{
    if (!option.isSet()) {
        return false;
    }
    const std::string word = valueOf(option);
    const bool isRecognised = recognise(word.c_str(), value);
    if (!isRecognised) {
        std::cerr << "Warning: ignoring unrecognised " << what << " \"" << word << "\"" << std::endl;
    }
    return isRecognised;
}

OxaResult query(Oxa::OxaZunicEnquirer& enquirer, const OptionTable& options)
{
    const std::string interfaceName = valueOf(options.interfaceName);
    const std::string roleName = valueOf(options.roleName);
    const std::string domainName = valueOf(options.domainName, "local");

    Oxa::InterfaceInstanceType type = Oxa::eInterfaceInstanceTypeUndefined;
    const bool useType = readFilter(options.interfaceType, "interface type", getInterfaceType, type);
    OxaZunic::OxaZunicRegistrationState state = OxaZunic::eOxaZunicRegistrationStateInvalid;
    const bool useState = readFilter(options.registrationState, "registration state", getRegistrationState, state);

    return enquirer.matchInterface(interfaceName, roleName, domainName, useType, type, useState, state);
}

OxaResult queryOrReport(Oxa::OxaZunicEnquirer& enquirer, const OptionTable& options)
{
    if (options.interfaceName.isSet() || options.roleName.isSet() || options.domainName.isSet()) {
        return query(enquirer, options);
    }
    if (options.interfaceType.isSet() || options.registrationState.isSet()) {
        std::cerr << "Error: -t and -s can only be used with -i and/or -r" << std::endl;
        return OxaResult::cParameterInvalid;
    }
    return enquirer.startEnquirer();
}

OxaResult run(const RunSettings& settings, const OptionTable& options)
{
    Oxa::OxaZunicEnquirer enquirer(settings.outputDirectory, !options.noBackup.isSet(), options.dot.isSet());
    OxaResult result = enquirer.init(settings.channelName);
    if (result == OxaResult::cOk) {
        result = queryOrReport(enquirer, options);
    } else {
        std::cerr << "Failed to initialise (using shared memory channel name \"" << settings.channelName << "\")"
                  << std::endl;
    }
    enquirer.cleanup();
    return result;
}

} // namespace

int OxaZunicEnquirerAppMain(int argc, char** argv)
{
    registerWithDlt();

    RunSettings settings;
    OptionTable options;
    OxaResult result = options.parser.parse(argc, argv);
    if (result == OxaResult::cOk) {
        if (options.consoleLog.isSet()) {
            dlt_enable_local_print();
        }
        result = readSettings(options, settings);
    }
    if (result == OxaResult::cOk) {
        result = run(settings, options);
    }
    return static_cast<int>(result.code());
}
