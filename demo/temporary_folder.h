#ifndef ZUNIC_DEMO_TEMPORARY_FOLDER_H
#define ZUNIC_DEMO_TEMPORARY_FOLDER_H

#include <filesystem>

namespace ZunicDemo {

/// A folder of this process's own in $TMPDIR or /tmp, removed with all that is in it on destruction.
class TemporaryFolder
{
public:
    /// Throws std::system_error.
    TemporaryFolder();
    ~TemporaryFolder();

    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return mPath; }

private:
    std::filesystem::path mPath;
};

} // namespace ZunicDemo

#endif
