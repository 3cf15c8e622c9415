#ifndef BENCH_FOLDER_H
#define BENCH_FOLDER_H

#include <filesystem>
#include <string>
#include <unistd.h>

namespace Bench {

/// A new folder in memory, where no disk takes part, removed in the end.
class Folder
{
public:
    Folder() : mPath("/dev/shm/zunic_benchmarks." + std::to_string(getpid()))
    {
        std::filesystem::create_directory(mPath);
    }
    ~Folder() { std::filesystem::remove_all(mPath); }

    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string operator/(const std::string& name) const { return mPath + "/" + name; }

private:
    std::string mPath;
};

} // namespace Bench

#endif
