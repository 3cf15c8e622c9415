#include "participant_programs.h"
#include "program_files.h"

#include <dlfcn.h>

#include <cstdlib>

namespace ZunicDemo {

namespace fs = std::filesystem;

namespace {

/// Whether `link` is now another name of `file`. It may not be possible: hard links do not lead to another file system,
/// nor do systems allow them to files of others.
bool hardLink(const fs::path& file, const fs::path& link)
{
    std::error_code error;
    fs::create_hard_link(file, link, error);
    return !error;
}

} // namespace

ParticipantPrograms::ParticipantPrograms() : mOriginal(mFolder.path() / "original")
{
    fs::create_directory(mFolder.path() / "programs");
    const fs::path program = findProgramFile("zunic_demo_participant", ZUNIC_DEMO_LIBEXEC_FROM_BIN);
    if (!hardLink(program, mOriginal)) {
        fs::copy_file(program, mOriginal);
    }
}

fs::path ParticipantPrograms::named(const std::string& name)
{
    fs::path program = mFolder.path() / "programs" / name;
    if (!fs::exists(program) && !hardLink(mOriginal, program)) {
        fs::copy_file(mOriginal, program);
    }
    return program;
}

void passOnLibraryFolder()
{
    // Not the function's address as this program sees it: that may lie in the program itself.
    void* const function = dlsym(RTLD_NEXT, "oxa_mutex_lock");
    Dl_info library{};
    if (function == nullptr || dladdr(function, &library) == 0) {
        return;
    }
    std::string folders = fs::absolute(library.dli_fname).parent_path().string();
    if (const char* const before = std::getenv("LD_LIBRARY_PATH"); before != nullptr && *before != '\0') {
        folders += std::string(":") + before;
    }
    setenv("LD_LIBRARY_PATH", folders.c_str(), 1);
}

} // namespace ZunicDemo
