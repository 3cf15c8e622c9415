#include "inspect/saved/output_file.h"
#include "support/inspect.h"
#include "support/live_bus.h"
#include "support/soak.h"
#include "support/stepped_child.h"

#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <grp.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <random>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <sys/un.h>

using namespace TestSupport;
using Inspect::NotSaved;
using Inspect::writeOutputFile;
using testing::ElementsAre;
using testing::EndsWith;

namespace {

namespace fs = std::filesystem;

constexpr uid_t cAttacker = 65534;
const std::string cOld = "old\n";
const std::string cNew(30'000, 'n'); ///< more than one write

/// Returns the complaint, none if it has been saved.
std::string save(const std::string& path, const std::string& text = cNew)
{
    try {
        writeOutputFile(path, Inspect::cOwnerOnly, [&](std::ostream& out) {
            for (const char letter : text) {
                out.put(letter);
            }
        });
        return "";
    } catch (const NotSaved& error) {
        return error.what();
    }
}

struct stat statusOf(const std::string& path)
{
    struct stat status = {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status;
}

/// From here on, this process is on a file system that has no files without a name.
void denyUnnamedFiles()
{
    constexpr std::uint32_t cFlag = O_TMPFILE & ~O_DIRECTORY;
    sock_filter steps[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[2])),
        BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, cFlag, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EOPNOTSUPP),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{std::size(steps), steps};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
        _exit(2);
    }
}

const struct
{
    const char* name;
    void (*prepare)();
} cFileSystems[] = {{"with unnamed files", [] {}}, {"without unnamed files", denyUnnamedFiles}};

TEST(FaultOfTheOutput, FileKeepsModeAndOwner)
{
    for (const auto& [name, prepare] : cFileSystems) {
        SCOPED_TRACE(name);
        const TemporaryDirectory directory;
        const std::string file = directory / "file";
        const std::string fresh = directory / "fresh";
        writeFile(file, cOld);
        const bool isRoot = geteuid() == 0;
        ASSERT_TRUE(!isRoot || chown(file.c_str(), cAttacker, cAttacker) == 0);
        ASSERT_EQ(chmod(file.c_str(), 04640), 0);
        ForkedChild saving([&, prepare = prepare] {
            prepare();
            umask(0777);
            return (save(file) + save(fresh)).empty() ? 0 : 1;
        });
        ASSERT_EQ(saving.wait(), 0);
        EXPECT_EQ(readFile(file), cNew);
        EXPECT_EQ(statusOf(file).st_mode, S_IFREG | 0640U);
        EXPECT_EQ(statusOf(file).st_uid, isRoot ? cAttacker : geteuid());
        EXPECT_EQ(statusOf(fresh).st_mode, S_IFREG | 0600U);
        EXPECT_THAT(directory.entries(), ElementsAre("file", "fresh"));
    }
}

TEST(FaultOfTheOutput, DirectoryAndSocketAreRefused)
{
    const TemporaryDirectory directory;
    fs::create_directory(directory / "below");
    sockaddr_un address{AF_UNIX, {}};
    (directory / "socket").copy(address.sun_path, sizeof address.sun_path - 1);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    close(socket);
    EXPECT_THAT(save(directory / "socket"), EndsWith("/socket: Is a socket"));
    EXPECT_THAT(save(directory / "below"), EndsWith("/below: Is a directory"));
    EXPECT_THAT(save(directory / "below/"), EndsWith("/below/: Is a directory"));
    EXPECT_THAT(save(directory / "none/"), EndsWith("/none/: No such file or directory"));
    EXPECT_THAT(save(""), EndsWith(": No such file or directory"));
    EXPECT_THAT(save("/"), EndsWith("/: Is a directory"));
    EXPECT_THAT(directory.entries(), ElementsAre("below", "socket"));
}

TEST(FaultOfTheOutput, DeviceIsWrittenInto)
{
    const TemporaryDirectory directory;
    const std::string null = directory / "null";
    const std::string full = directory / "full";
    if (mknod(null.c_str(), S_IFCHR | 0600, makedev(1, 3)) != 0 ||
        mknod(full.c_str(), S_IFCHR | 0600, makedev(1, 7)) != 0 || access(null.c_str(), W_OK) != 0) {
        GTEST_SKIP() << "no device nodes here";
    }
    const int opened = open(null.c_str(), O_WRONLY | O_CLOEXEC);
    if (opened < 0) {
        GTEST_SKIP() << "devices cannot be opened here";
    }
    close(opened);
    const LiveBus bus(SCENARIO_DIR "/small.json");
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"save"}, {"page"}, {"metrics", "--again", "0", "--output"}}) {
        for (const auto& [device, status] : {std::pair{null, eYes}, {full, eFailed}}) {
            std::vector<std::string> command = words;
            command.insert(command.end(), {device, "-c", bus.channelName()});
            const ProgramResult result = inspect(command);
            EXPECT_EQ(result.status, status) << words[0];
            const std::string complaint = "zunic_inspect: " + device + ": No space left on device\n";
            EXPECT_EQ(result.errors, status == eYes ? "" : complaint);
            EXPECT_TRUE(S_ISCHR(statusOf(device).st_mode)) << words[0];
        }
    }
    EXPECT_THAT(directory.entries(), ElementsAre("full", "null"));
}

TEST(FaultOfTheOutput, FifoIsWrittenInto)
{
    const TemporaryDirectory directory;
    const std::string fifo = directory / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    Program reader({"/bin/cat", fifo});
    EXPECT_EQ(save(fifo), "");
    EXPECT_EQ(reader.wait(), 0);
    EXPECT_EQ(reader.output(), cNew);
    EXPECT_TRUE(S_ISFIFO(statusOf(fifo).st_mode));
}

TEST(FaultOfTheOutput, OpenDescriptorIsWrittenInto)
{
    const LiveBus bus(SCENARIO_DIR "/small.json");
    const TemporaryDirectory directory;
    const std::string file = directory / "file";
    fs::create_symlink("/dev/stdout", directory / "link");
    for (const std::string path :
         {"/dev/stdout", "/dev/fd/1", "/proc/self/fd/1", "/proc/thread-self/fd/1", "$3/link"}) {
        const std::string line =
            "{ echo before; \"$0\" save \"" + path + "\" -c \"$1\" && echo after; } >>\"$2\"; exec cat \"$2\"";
        const ProgramResult result =
            runProgram({"/bin/sh", "-c", line, INSPECT_BINARY, bus.channelName(), file, directory.path()});
        EXPECT_EQ(result.errors, "") << path;
        EXPECT_THAT(result.output, testing::AllOf(testing::StartsWith("before\n{"), EndsWith("}\nafter\n"))) << path;
        fs::remove(file);
    }
    EXPECT_THAT(directory.entries(), ElementsAre("link"));
    writeFile(file, "");
    const std::string line = "{ \"$0\" save /dev/stdout -c \"$1\"; echo after; } >\"$2\"; exec cat \"$2\"";
    EXPECT_THAT(runProgram({"/bin/sh", "-c", line, INSPECT_BINARY, bus.channelName(), file}).output,
                EndsWith("}\nafter\n"));
}

TEST(FaultOfTheOutput, LinkIsFollowedOnlyWhereNobodyElseCanPutOne)
{
    const TemporaryDirectory directory;
    fs::create_directories(directory / "below/lower");
    fs::create_symlink("below/lower", directory / "folder");
    fs::create_symlink("folder/../target", directory / "link");
    fs::create_symlink("loop", directory / "loop");
    writeFile(directory / "below/target", cOld);
    EXPECT_EQ(save(directory / "link"), "");
    EXPECT_EQ(readFile(directory / "below/target"), cNew);
    EXPECT_EQ(save(directory / "folder/fresh"), "");
    EXPECT_EQ(readFile(directory / "below/lower/fresh"), cNew);
    EXPECT_THAT(save(directory / "loop"), EndsWith(": Too many levels of symbolic links"));

    const std::string refusal = ": not followed: a symbolic link in a directory that others can write to";
    for (const mode_t mode : {0720U, 0702U, 01777U}) {
        ASSERT_EQ(chmod(directory.path().c_str(), mode), 0);
        for (const char* const path : {"link", "folder/fresh"}) {
            EXPECT_EQ(save(directory / path, cOld), directory / path + refusal);
        }
    }
    if (geteuid() == 0) {
        ASSERT_EQ(chmod(directory.path().c_str(), 0700), 0);
        ASSERT_EQ(chown(directory.path().c_str(), cAttacker, 0), 0);
        EXPECT_EQ(save(directory / "link", cOld), directory / "link" + refusal);
    }
    EXPECT_EQ(readFile(directory / "below/target"), cNew);
}

void becomeTheAttacker()
{
    if (setgroups(0, nullptr) != 0 || setresgid(cAttacker, cAttacker, cAttacker) != 0 ||
        setresuid(cAttacker, cAttacker, cAttacker) != 0) {
        _exit(1);
    }
}

void exchange(const fs::path& one, const fs::path& other)
{
    syscall(SYS_renameat2, AT_FDCWD, one.c_str(), AT_FDCWD, other.c_str(), RENAME_EXCHANGE);
}

/// Swaps whatever is in the directory, and the directory itself, for links to the victims, until it is killed.
[[noreturn]] void attack(const fs::path& owned, const fs::path& victims)
{
    becomeTheAttacker();
    const fs::path output = owned / "output";
    const fs::path planted = owned / "planted";
    std::error_code ignored;
    fs::create_directory_symlink(victims, owned / "swapped", ignored);
    for (std::minstd_rand random;;) {
        const auto action = random() % 8;
        for (fs::directory_iterator entry(output, ignored); entry != fs::directory_iterator();
             entry.increment(ignored)) {
            fs::create_symlink(victims / "victim", planted, ignored);
            if (action != 0 || entry->path().filename() != "file") {
                fs::rename(planted, entry->path(), ignored);
            }
        }
        if (action < 6) {
            fs::remove(output / "file", ignored);
        }
        if (action == 1) {
            fs::create_hard_link(victims / "victim", output / "file", ignored);
        }
        if (action == 2) {
            exchange(output, owned / "swapped");
            exchange(output, owned / "swapped");
        }
    }
}

/// Saves again and again next to an attacker.
void saveUnderAttack(const fs::path& owned, const fs::path& victims, void (*prepare)())
{
    ForkedChild attacker([&] {
        attack(owned, victims);
        return 1;
    });
    ForkedChild saving([&] {
        prepare();
        const int tries = rounds(500, 10'000);
        int saved = 0;
        for (int i = 0; i < tries; ++i) {
            saved += save(owned / "output/file", "planted").empty() ? 1 : 0;
        }
        figures() << tries << " saves: " << saved << " done, the others refused" << std::endl;
        return 0;
    });
    EXPECT_EQ(saving.wait(), 0);
    attacker.send(SIGKILL);
    EXPECT_EQ(attacker.wait(), cKilled);
}

TEST(FaultOfTheOutput, AttackerInADirectoryOfHisOwn)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can be another user, too";
    }
    for (const auto& [name, prepare] : cFileSystems) {
        SCOPED_TRACE(name);
        const TemporaryDirectory directory;
        const std::string victims = directory / "victims";
        const std::string owned = directory / "owned";
        fs::create_directories(owned + "/output");
        fs::create_directory(victims);
        for (const std::string& path : {owned, owned + "/output"}) {
            ASSERT_EQ(chown(path.c_str(), cAttacker, cAttacker), 0);
        }
        for (const std::string& path : {directory.path().string(), victims}) {
            ASSERT_EQ(chmod(path.c_str(), 0755), 0);
        }
        for (const std::string file : {"/victim", "/file"}) {
            writeFile(victims + file, "untouched");
            ASSERT_EQ(chmod((victims + file).c_str(), 0644), 0);
        }
        saveUnderAttack(owned, victims, prepare);
        for (const std::string file : {"/victim", "/file"}) {
            EXPECT_EQ(readFile(victims + file), "untouched");
            EXPECT_EQ(statusOf(victims + file).st_mode, S_IFREG | 0644U);
            EXPECT_EQ(statusOf(victims + file).st_uid, 0U);
        }
        EXPECT_EQ(std::distance(fs::directory_iterator(victims), {}), 2);
    }
}

class FaultOfTheOutputBySignal : public testing::TestWithParam<int>
{};

TEST_P(FaultOfTheOutputBySignal, LeavesTheOldOrTheNewFile)
{
    const int signal = GetParam();
    for (const auto& [name, prepare] : cFileSystems) {
        SCOPED_TRACE(name);
        int sent = 0;
        int olds = 0;
        int extras = 0;
        // Starts again at the first system call after the last one, until enough have been sent.
        for (int stop = 0; stop != 0 || sent < rounds(1, 1000);) {
            const TemporaryDirectory directory;
            const std::string file = directory / "file";
            writeFile(file, cOld);
            const auto saving = [&, prepare = prepare] {
                prepare();
                return save(file).empty() ? 0 : 1;
            };
            const auto [isSent, status] = actAtStop(stop, saving, [&](ForkedChild& child) { child.send(signal); });
            ASSERT_THAT(status, testing::AnyOf(0, isSent ? 1000 + signal : 0));
            const std::string text = readFile(file);
            ASSERT_TRUE(text == cOld || text == cNew) << stop;
            auto others = directory.entries();
            others.erase("file");
            ASSERT_LE(others.size(), signal == SIGKILL ? 1U : 0U) << stop;
            for (const std::string& other : others) {
                ASSERT_TRUE(prepare == denyUnnamedFiles || readFile(directory / other) == cNew) << stop;
            }
            sent += isSent ? 1 : 0;
            olds += text == cOld ? 1 : 0;
            extras += static_cast<int>(others.size());
            stop = isSent ? stop + 1 : 0;
        }
        EXPECT_TRUE(olds > 0 && olds < sent);
        figures() << sent << " signals, " << olds << " left the old file, " << extras << " another one, too\n";
    }
}

INSTANTIATE_TEST_SUITE_P(Signals, FaultOfTheOutputBySignal, testing::Values(SIGKILL, SIGINT, SIGTERM, SIGHUP),
                         [](const auto& tested) { return std::string(sigabbrev_np(tested.param)); });

TEST(FaultOfTheOutput, LimitOnTheSizeOfFilesLeavesTheOldOne)
{
    for (const auto& [name, prepare] : cFileSystems) {
        SCOPED_TRACE(name);
        const TemporaryDirectory directory;
        const std::string file = directory / "file";
        writeFile(file, cOld);
        ForkedChild saving([&, prepare = prepare] {
            prepare();
            const rlimit limit{20'000, 20'000};
            const rlimit none{0, 0};
            return setrlimit(RLIMIT_CORE, &none) == 0 && setrlimit(RLIMIT_FSIZE, &limit) == 0 && save(file).empty();
        });
        EXPECT_EQ(saving.wait(), 1000 + SIGXFSZ);
        EXPECT_EQ(readFile(file), cOld);
        EXPECT_THAT(directory.entries(), ElementsAre("file"));
    }
}

} // namespace
