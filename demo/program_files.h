#ifndef ZUNIC_DEMO_PROGRAM_FILES_H
#define ZUNIC_DEMO_PROGRAM_FILES_H

#include <filesystem>

namespace ZunicDemo {

/// A file that belongs to this program: beside it in the build tree, in `folder`, from there, once it is installed.
/// Throws std::filesystem::filesystem_error when it is in neither place.
std::filesystem::path findProgramFile(const std::filesystem::path& name, const std::filesystem::path& folder);

} // namespace ZunicDemo

#endif
