#include "program_files.h"

namespace ZunicDemo {

namespace fs = std::filesystem;

fs::path findProgramFile(const fs::path& name, const fs::path& folder)
{
    const fs::path here = fs::read_symlink("/proc/self/exe").parent_path();
    for (const fs::path& place : {here / name, here / folder / name}) {
        if (fs::exists(place)) {
            return fs::canonical(place);
        }
    }
    throw fs::filesystem_error("cannot find a file of this program", here / name,
                               std::make_error_code(std::errc::no_such_file_or_directory));
}

} // namespace ZunicDemo
