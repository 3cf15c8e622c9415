#ifndef TESTS_SUPPORT_TEMPORARY_DIRECTORY_H
#define TESTS_SUPPORT_TEMPORARY_DIRECTORY_H

#include <filesystem>
#include <set>
#include <string>

namespace TestSupport {

/// A new directory, removed with all that is in it when this object is destroyed.
class TemporaryDirectory
{
public:
    TemporaryDirectory();
    ~TemporaryDirectory();

    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return mPath; }
    std::string operator/(const std::string& name) const { return (mPath / name).string(); }

    /// The names of what is in it, or in a directory below it.
    std::set<std::string> entries(const std::string& below = "") const;

private:
    std::filesystem::path mPath;
};

/// The whole file; fails the running test when it cannot be read.
std::string readFile(const std::filesystem::path& path);
void writeFile(const std::filesystem::path& path, const std::string& text);

} // namespace TestSupport

#endif
