#include "support/inspect.h"
#include "support/sanitized.h"
#include "support/soak.h"
#include "support/vandal.h"

#include <algorithm>
#include <functional>
#include <gmock/gmock.h>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <sys/resource.h>

using namespace TestSupport;
using testing::AnyOf;

namespace {

bool isJson(const std::string& text)
{
    return nlohmann::json::accept(text);
}

bool areJsonLines(const std::string& text)
{
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (!isJson(line)) {
            return false;
        }
    }
    return true;
}

/// Neither a terminal nor a script that reads line by line gets anything else, whatever the names are.
bool isPlain(const std::string& text)
{
    return std::ranges::none_of(text, [](unsigned char c) { return (c < ' ' && c != '\n') || c == 0x7F; });
}

struct InspectRun
{
    std::string mArguments; ///< separated by blanks
    std::function<bool(const std::string& output)> mIsWhole = isPlain;
};

/// Each command, in each of its forms; they leave a saved state and a contract of the damaged channel for each other.
std::vector<InspectRun> allRuns()
{
    const auto isMetrics = [](const std::string& text) { return text.ends_with("# EOF\n"); };
    const auto isPage = [](const std::string& text) { return text.ends_with("</html>\n"); };
    std::vector<InspectRun> runs{{"show Clock"},
                                 {"show 1 2 3"},
                                 {"show --json Clock 1 2 3", isJson},
                                 {"save state.json"},
                                 {"save -", isJson},
                                 {"save --as-contract contract.json"},
                                 {"save --as-contract -", isJson},
                                 {"check --again 1ms"},
                                 {"check --again 1ms --all --expect contract.json"},
                                 {"check --again 1ms --json --expect contract.json", isJson},
                                 {"diff state.json"},
                                 {"diff state.json --all"},
                                 {"diff state.json --json", isJson},
                                 {"watch --interval 30ms --for 30ms"},
                                 {"watch --interval 30ms --for 30ms --json", areJsonLines},
                                 {"wait Clock --timeout 20ms"},
                                 {"wait Clock --gone --timeout 20ms"},
                                 {"metrics --again 1ms", isMetrics},
                                 {"page -", isPage},
                                 {"traffic --for 20ms --by pair"},
                                 {"traffic --for 20ms --json", isJson}};
    for (const std::string kind : {"interfaces", "communicators", "processes", "memory", "messages"}) {
        runs.push_back({"list " + kind});
        runs.push_back({"list " + kind + " --all"});
        runs.push_back({"list " + kind + " --json", isJson});
    }
    return runs;
}

/// The vandal's channel, its runs and their directory.
class FaultOfAWriter : public testing::Test
{
protected:
    ProgramResult run(const std::string& arguments) const
    {
        std::istringstream words(arguments + " -c " + mChannel.name());
        const std::vector<std::string> list{std::istream_iterator<std::string>(words), {}};
        return runProgram(inspectWords(list), {.workingDirectory = mDirectory.path(),
                                               .environment = {{"LC_ALL", "C.UTF-8"}},
                                               .addressSpace = cIsSanitized ? 0 : cPrograms + cBase + 4 * size()});
    }

    std::size_t size() const { return mChannel.bytes().size(); }

    ZunicHosting::HostedChannel mChannel = Vandal::createChannel();
    TemporaryDirectory mDirectory;

private:
    /// What a command may take, and what is mapped before it begins: 10 MiB with the libraries of Debian 12.
    static constexpr std::size_t cBase = std::size_t{64} << 20;
    static constexpr std::size_t cPrograms = std::size_t{16} << 20;
};

TEST_F(FaultOfAWriter, EveryRunEndsByItselfAndItsOutputIsWhole)
{
    Vandal vandal(mChannel);
    ASSERT_EQ(run("save state.json").status, eYes);
    ASSERT_EQ(run("save --as-contract contract.json").status, eYes);
    const ForkedChild process([&] {
        vandal.rage();
        return 0;
    });
    const std::vector<InspectRun> all = allRuns();
    const auto runs = static_cast<std::size_t>(rounds(static_cast<int>(all.size()), 10'000));
    std::map<int, int> statuses;
    for (std::size_t i = 0; i < runs; ++i) {
        const auto& [arguments, isWhole] = all[i % all.size()];
        const ProgramResult result = run(arguments);
        ++statuses[result.status];
        // Neither out of memory, nor is a saved state or contract one that cannot be read.
        ASSERT_THAT(result.status, AnyOf(eYes, eNo, eTimeIsUp, eNoChannel)) << arguments << '\n' << result.errors;
        ASSERT_TRUE(isWhole(result.output) || (result.status == eNoChannel && result.output.empty()))
            << arguments << '\n'
            << result.output;
        ASSERT_TRUE(isPlain(result.errors)) << arguments << '\n' << result.errors;
    }
    EXPECT_GT(statuses[eYes], 0);
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    figures() << runs << " runs, exit statuses " << testing::PrintToString(statuses) << ", the largest "
              << usage.ru_maxrss << " KiB\n";
}

} // namespace
