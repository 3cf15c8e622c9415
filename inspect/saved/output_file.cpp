#include "inspect/saved/output_file.h"

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <deque>
#include <ext/stdio_filebuf.h>
#include <fcntl.h>
#include <filesystem>
#include <linux/magic.h>
#include <optional>
#include <random>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>
#include <utility>

namespace Inspect {

namespace {

using Write = std::function<void(std::ostream&)>;

void require(bool isDone)
{
    if (!isDone) {
        throw NotSaved(std::strerror(errno));
    }
}

class Descriptor
{
public:
    /// Takes what open() returned. Throws NotSaved if that failed.
    explicit Descriptor(int number) : mNumber(number) { require(number >= 0); }
    Descriptor(Descriptor&& other) noexcept : mNumber(std::exchange(other.mNumber, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(mNumber, other.mNumber);
        return *this;
    }
    ~Descriptor()
    {
        if (mNumber >= 0) {
            close(mNumber);
        }
    }

    int number() const { return mNumber; }
    std::string path() const { return "/proc/self/fd/" + std::to_string(mNumber); }

    struct stat status() const
    {
        struct stat status = {};
        require(fstat(mNumber, &status) == 0);
        return status;
    }

private:
    int mNumber;
};

/// A name in a directory, and what was found there: nothing, or a file that is not opened yet.
struct Place
{
    Descriptor mDirectory;
    std::string mName;
    std::optional<Descriptor> mFile;
};

using Names = std::deque<std::string>;

/// The names in `path` go in front of the others; "/" is the root directory.
void prepend(Names& names, const std::filesystem::path& path)
{
    names.insert(names.begin(), path.begin(), path.end());
}

/// The target of a link that has been found in `directory`. Throws NotSaved if others could have put it there.
std::string targetOf(const Descriptor& link, const Descriptor& directory)
{
    const struct stat status = directory.status();
    if ((status.st_uid != 0 && status.st_uid != geteuid()) || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        throw NotSaved("not followed: a symbolic link in a directory that others can write to");
    }
    std::array<char, PATH_MAX> target{};
    const ssize_t size = readlinkat(link.number(), "", target.data(), target.size());
    require(size > 0);
    return {target.data(), static_cast<std::size_t>(size)};
}

/// Whether it is the link of a process to a file that it has open; the target of such a link may not be a path.
bool isOpenDescriptor(const Descriptor& directory, const std::string& name)
{
    struct statfs system = {};
    require(fstatfs(directory.number(), &system) == 0);
    return system.f_type == PROC_SUPER_MAGIC && name.find_first_not_of("0123456789") == std::string::npos;
}

/// Follows `path` name by name, so that nobody can exchange one after it has been checked.
Place find(const std::string& path)
{
    int linksLeft = 40; // as in the kernel
    Place place{Descriptor(open(path.starts_with('/') ? "/" : ".", O_PATH | O_DIRECTORY | O_CLOEXEC)), {}, {}};
    Names names;
    for (prepend(names, path); !names.empty();) {
        place.mName = names.front().empty() ? "." : names.front(); // Empty: after a slash at the end.
        names.pop_front();
        const int number = openat(place.mDirectory.number(), place.mName.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC);
        if (number < 0 && errno == ENOENT && names.empty()) {
            return place;
        }
        Descriptor found(number);
        if (S_ISLNK(found.status().st_mode)) {
            const std::string target = targetOf(found, place.mDirectory);
            if (!names.empty() || !isOpenDescriptor(place.mDirectory, place.mName)) {
                errno = ELOOP;
                require(linksLeft-- > 0);
                prepend(names, target);
                continue;
            }
        }
        if (names.empty()) {
            place.mFile.emplace(std::move(found));
        } else {
            place.mDirectory = std::move(found);
        }
    }
    errno = ENOENT;
    require(place.mFile.has_value()); // An empty path has no names.
    return place;
}

/// Writes to an open file.
void writeTo(const Descriptor& file, const Write& write)
{
    const int copy = fcntl(file.number(), F_DUPFD_CLOEXEC, 0); // The buffer closes it.
    require(copy >= 0);
    __gnu_cxx::stdio_filebuf<char> buffer(copy, std::ios::out | std::ios::binary);
    std::ostream out(&buffer);
    out.exceptions(std::ios::badbit | std::ios::failbit);
    try {
        write(out);
        out.flush();
    } catch (const std::ios::failure&) {
        require(false);
    }
}

/// A descriptor of this process shares its position, so that what it writes later follows. Another process' descriptor
/// is opened again.
Descriptor openDescriptor(const Place& place)
{
    struct stat own = {};
    const struct stat directory = place.mDirectory.status();
    require(stat("/proc/self/fd", &own) == 0);
    if (own.st_dev == directory.st_dev && own.st_ino == directory.st_ino) {
        return Descriptor(fcntl(std::stoi(place.mName), F_DUPFD_CLOEXEC, 0));
    }
    constexpr int cFlags = O_WRONLY | O_APPEND | O_NOCTTY | O_CLOEXEC;
    return Descriptor(openat(place.mDirectory.number(), place.mName.c_str(), cFlags));
}

/// Delays the signals that end a program from outside, as long as it has something to remove.
class DelayedSignals
{
public:
    DelayedSignals()
    {
        sigset_t signals;
        sigemptyset(&signals);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGXFSZ}) {
            sigaddset(&signals, signal);
        }
        pthread_sigmask(SIG_BLOCK, &signals, &mBefore);
    }
    ~DelayedSignals() { pthread_sigmask(SIG_SETMASK, &mBefore, nullptr); }

    DelayedSignals(const DelayedSignals&) = delete;
    DelayedSignals& operator=(const DelayedSignals&) = delete;

private:
    sigset_t mBefore{};
};

/// A file without a name, where the file system has that, until it is moved into its place; else with a random name.
class NewFile
{
public:
    explicit NewFile(const Descriptor& directory) : mDirectory(directory.number()), mName(randomName()), mFile(create())
    {}
    ~NewFile()
    {
        if (mIsNamed) {
            unlinkat(mDirectory, mName.c_str(), 0);
        }
    }

    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    const Descriptor& file() const { return mFile; }

    void moveTo(const std::string& name)
    {
        if (!mIsNamed) {
            require(linkat(AT_FDCWD, mFile.path().c_str(), mDirectory, mName.c_str(), AT_SYMLINK_FOLLOW) == 0);
            mIsNamed = true;
        }
        require(renameat(mDirectory, mName.c_str(), mDirectory, name.c_str()) == 0);
        mIsNamed = false;
    }

private:
    static std::string randomName()
    {
        std::random_device random;
        return ".zunic_inspect." + std::to_string(random()) + std::to_string(random());
    }

    Descriptor create()
    {
        const int unnamed = openat(mDirectory, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, cOwnerOnly);
        if (unnamed >= 0) {
            return Descriptor(unnamed);
        }
        Descriptor named(openat(mDirectory, mName.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, cOwnerOnly));
        mIsNamed = true;
        return named;
    }

    int mDirectory;
    bool mIsNamed = false;
    std::string mName;
    Descriptor mFile;
};

/// Without set-user-id and the like: they would be for what was in the file before.
mode_t takeOwner(const Descriptor& file, const Descriptor& before)
{
    const struct stat status = before.status();
    if (fchown(file.number(), status.st_uid, status.st_gid) != 0) {
        [[maybe_unused]] const int isGroupKept = fchown(file.number(), static_cast<uid_t>(-1), status.st_gid);
    }
    return status.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO);
}

void replace(const Place& place, mode_t permissions, const Write& write)
{
    const DelayedSignals delayed;
    NewFile created(place.mDirectory);
    const Descriptor& file = created.file();
    writeTo(file, write);
    require(fchmod(file.number(), place.mFile ? takeOwner(file, *place.mFile) : permissions) == 0);
    require(fsync(file.number()) == 0);
    created.moveTo(place.mName);
}

void writeAt(const Place& place, mode_t permissions, const Write& write)
{
    const mode_t type = place.mFile ? place.mFile->status().st_mode & S_IFMT : S_IFREG;
    switch (type) {
    case S_IFREG:
        return replace(place, permissions, write);
    case S_IFLNK:
        return writeTo(openDescriptor(place), write);
    case S_IFCHR:
    case S_IFBLK:
    case S_IFIFO:
        return writeTo(Descriptor(open(place.mFile->path().c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC)), write);
    default:
        throw NotSaved(type == S_IFDIR ? "Is a directory" : "Is a socket");
    }
}

} // namespace

void writeOutputFile(const std::string& path, mode_t permissions, const Write& write)
{
    try {
        writeAt(find(path), permissions, write);
    } catch (const NotSaved& error) {
        throw NotSaved(path + ": " + error.what());
    }
}

void writeOutput(const std::string& path, mode_t permissions, std::ostream& standardOutput, const Write& write)
{
    if (path == "-") {
        write(standardOutput);
    } else {
        writeOutputFile(path, permissions, write);
    }
}

} // namespace Inspect
