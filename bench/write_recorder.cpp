// Preloaded into a program, records what it writes into the files of the folder that the environment variable
// RECORDED_FOLDER names, in order, write by write, into the file that RECORDING names.
#include "recorded_write.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <string>
#include <string_view>
#include <sys/uio.h>
#include <unistd.h>

namespace {

std::FILE* recording()
{
    static std::FILE* const file = std::fopen(std::getenv("RECORDING"), "w");
    return file;
}

/// Empty when the descriptor is not that of a file in the recorded folder.
std::string recordedName(int descriptor)
{
    char path[PATH_MAX];
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const ssize_t size = readlink(link.c_str(), path, sizeof path);
    const std::string_view folder = std::getenv("RECORDED_FOLDER");
    const std::string_view file(path, size < 0 ? 0 : static_cast<std::size_t>(size));
    return file.starts_with(folder) && file.size() > folder.size() ? std::string(file.substr(folder.size() + 1)) : "";
}

void record(int descriptor, const iovec* parts, int count)
{
    const std::string name = recordedName(descriptor);
    if (name.empty()) {
        return;
    }
    std::size_t size = 0;
    for (int i = 0; i < count; ++i) {
        size += parts[i].iov_len;
    }
    const Bench::RecordedWrite head{static_cast<std::uint32_t>(name.size()), static_cast<std::uint32_t>(size)};
    std::fwrite(&head, sizeof head, 1, recording());
    std::fwrite(name.data(), name.size(), 1, recording());
    for (int i = 0; i < count; ++i) {
        std::fwrite(parts[i].iov_base, parts[i].iov_len, 1, recording());
    }
}

} // namespace

extern "C" ssize_t write(int descriptor, const void* bytes, size_t size)
{
    static const auto next = reinterpret_cast<ssize_t (*)(int, const void*, size_t)>(dlsym(RTLD_NEXT, "write"));
    const iovec whole{const_cast<void*>(bytes), size};
    record(descriptor, &whole, 1);
    return next(descriptor, bytes, size);
}

extern "C" ssize_t writev(int descriptor, const iovec* parts, int count)
{
    static const auto next = reinterpret_cast<ssize_t (*)(int, const iovec*, int)>(dlsym(RTLD_NEXT, "writev"));
    record(descriptor, parts, count);
    return next(descriptor, parts, count);
}
