// Types at real shells, on a pseudo-terminal, with the tab key.

#include "support/live_bus.h"
#include "support/temporary_directory.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace {

using namespace TestSupport;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

// In the place of the tool: tells what the shell would have passed to it.
constexpr auto cShowArguments = "PS1='READY> ' PS2=\n"
                                "zunic_enquirer() { printf 'GOT'; printf '<%s>' \"$@\"; printf 'END\\n'; }\n";
constexpr auto cPrompt = "READY> ";

/// An empty file in the place of a channel.
class ChannelFile
{
public:
    explicit ChannelFile(const std::string& channel) : mObject("/zunic." + channel)
    {
        close(shm_open(mObject.c_str(), O_CREAT | O_RDWR, 0600));
    }
    ~ChannelFile() { shm_unlink(mObject.c_str()); }

    ChannelFile(const ChannelFile&) = delete;
    ChannelFile& operator=(const ChannelFile&) = delete;

private:
    std::string mObject;
};

/// An interactive shell with the completion of the tool; its directory holds `place one` and a file.
class Shell
{
public:
    explicit Shell(const std::string& shell);
    ~Shell();

    Shell(const Shell&) = delete;
    Shell& operator=(const Shell&) = delete;

    /// Types `text` and returns what appears up to the end of `awaited`, or until nothing more comes.
    std::string type(const std::string& text, const std::string& awaited);

    /// The arguments, each in <>, that the shell passes to the tool when this is typed behind its name.
    std::string argumentsFor(const std::string& typed);

    const TemporaryDirectory& directory() const { return mDirectory; }

private:
    void run(const std::string& shell) const;

    TemporaryDirectory mDirectory;
    int mTerminal = -1;
    std::string mUnread;
    pid_t mProcess = -1;
};

Shell::Shell(const std::string& shell)
{
    std::filesystem::create_directory(mDirectory / "place one");
    writeFile(mDirectory / "place two is a file", "");
    const std::string completions = COMPLETIONS_DIR;
    writeFile(mDirectory / ".bash", cShowArguments + ("source '" + completions + "/zunic_enquirer.bash'\n"));
    writeFile(mDirectory / ".zshrc", cShowArguments + ("fpath=('" + completions +
                                                       "' $fpath)\nautoload -Uz compinit && compinit -u -D\n"
                                                       "setopt nobeep; unsetopt prompt_sp\n"));
    winsize size{60, 250, 0, 0};
    mProcess = forkpty(&mTerminal, nullptr, nullptr, &size);
    if (mProcess == 0) {
        run(shell);
    }
    EXPECT_THAT(type("", cPrompt), HasSubstr(cPrompt));
}

void Shell::run(const std::string& shell) const
{
    setenv("TERM", "dumb", 1);
    setenv("ZDOTDIR", mDirectory.path().c_str(), 1);
    setenv("INPUTRC", "/dev/null", 1);
    if (chdir(mDirectory.path().c_str()) == 0) {
        if (shell == "bash") {
            execlp("bash", "bash", "--noprofile", "--rcfile", ".bash", "-i", nullptr);
        } else {
            execlp("zsh", "zsh", "--no-globalrcs", "-i", nullptr);
        }
    }
    _exit(127);
}

Shell::~Shell()
{
    close(mTerminal);
    kill(mProcess, SIGKILL);
    waitpid(mProcess, nullptr, 0);
}

std::string Shell::type(const std::string& text, const std::string& awaited)
{
    EXPECT_EQ(write(mTerminal, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    constexpr int cWatchdog = 30'000;
    pollfd readable{mTerminal, POLLIN, 0};
    while (mUnread.find(awaited) == std::string::npos && poll(&readable, 1, cWatchdog) > 0) {
        char buffer[4096];
        const ssize_t count = read(mTerminal, buffer, sizeof buffer);
        if (count <= 0) {
            break;
        }
        mUnread.append(buffer, static_cast<std::size_t>(count));
    }
    const std::size_t found = mUnread.find(awaited);
    std::string seen = mUnread.substr(0, found == std::string::npos ? found : found + awaited.size());
    mUnread.erase(0, seen.size());
    return seen;
}

std::string Shell::argumentsFor(const std::string& typed)
{
    const std::string seen = type("zunic_enquirer " + typed + "\n", "END\r\n");
    type("", cPrompt);
    const std::size_t begin = seen.find("GOT<");
    const std::size_t end = seen.find("END", begin);
    return begin == std::string::npos || end == std::string::npos ? seen : seen.substr(begin + 3, end - begin - 3);
}

class Completion : public testing::TestWithParam<const char*>
{
protected:
    void SetUp() override
    {
        if (std::system(("command -v " + std::string(GetParam()) + " >/dev/null").c_str()) != 0) {
            GTEST_SKIP() << "there is no " << GetParam();
        }
    }
};

TEST_P(Completion, completesOptionsWordsAndDirectories)
{
    Shell shell(GetParam());
    const std::pair<const char*, const char*> cases[] = {
        {"--no\t", "<--no_bak>"},
        {"-d --cons\t", "<-d><--consoleLog>"},
        {"-t sk\t", "<-t><skeleton>"},
        {"--checkInterfaceType st\t", "<--checkInterfaceType><stub>"},
        {"-bdt sk\t", "<-bdt><skeleton>"},
        {"-i Clock -s pre\t", "<-i><Clock><-s><preregistered>"},
        {"--checkInterfaceRegState=unr\t", "<--checkInterfaceRegState=unregistered>"},
        {"-o pl\treports", "<-o><place one/reports>"},
    };
    for (const auto& [typed, expected] : cases) {
        EXPECT_EQ(shell.argumentsFor(typed), expected) << typed;
    }
}

TEST_P(Completion, offersChannelsAsThePositional)
{
    const std::string channel = uniqueChannelName();
    const ChannelFile one(channel + ".one");
    const ChannelFile two(channel + ".two");
    Shell shell(GetParam());

    EXPECT_EQ(shell.argumentsFor("-i Clock " + channel + ".o\t"), "<-i><Clock><" + channel + ".one>");
    EXPECT_EQ(shell.argumentsFor("-- " + channel + ".t\t"), "<--><" + channel + ".two>");
    EXPECT_THAT(shell.type("zunic_enquirer -b " + channel + "\t\t\t", channel + ".two"),
                AllOf(HasSubstr(channel + ".one"), HasSubstr(channel + ".two"), Not(HasSubstr("zunic."))));
}

TEST_P(Completion, takesNoPartOfAChannelsNameForShellCode)
{
    const std::string name = uniqueChannelName() + " $(touch pwned); `touch pwned`";
    const ChannelFile file(name);
    Shell shell(GetParam());

    EXPECT_EQ(shell.argumentsFor(name.substr(0, name.find(' ')) + "\t"), "<" + name + ">");
    EXPECT_THAT(shell.directory().entries(), Not(testing::Contains("pwned")));
}

INSTANTIATE_TEST_SUITE_P(Shells, Completion, testing::Values("bash", "zsh"),
                         [](const auto& shell) { return std::string(shell.param); });

} // namespace
