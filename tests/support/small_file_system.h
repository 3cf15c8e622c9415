#ifndef TESTS_SUPPORT_SMALL_FILE_SYSTEM_H
#define TESTS_SUPPORT_SMALL_FILE_SYSTEM_H

#include <fstream>
#include <sched.h>
#include <string>
#include <sys/mount.h>

namespace TestSupport {

/// A file system with one block, in memory, which only this process and those that it starts see.
class SmallFileSystem
{
public:
    /// Mounts it on a directory, if this process may.
    explicit SmallFileSystem(const std::string& directory) : mDirectory(directory)
    {
        mIsMounted = unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                     mount("none", directory.c_str(), "tmpfs", 0, "size=4k") == 0;
    }
    ~SmallFileSystem()
    {
        if (mIsMounted) {
            umount2(mDirectory.c_str(), MNT_DETACH);
        }
    }

    SmallFileSystem(const SmallFileSystem&) = delete;
    SmallFileSystem& operator=(const SmallFileSystem&) = delete;

    bool isMounted() const { return mIsMounted; }
    void fill() const { std::ofstream(mDirectory + "/filling") << std::string(4096, 'x'); }

private:
    std::string mDirectory;
    bool mIsMounted;
};

} // namespace TestSupport

#endif
