// Runs a fuzzer's entry point once for each file of the folders that the command line names.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace {

std::vector<std::filesystem::path> filesIn(const char* folder)
{
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

void replay(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

} // namespace

int main(int argc, char** argv)
{
    if (LLVMFuzzerInitialize && LLVMFuzzerInitialize(&argc, &argv) != 0) {
        return EXIT_FAILURE;
    }
    std::size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        for (const std::filesystem::path& file : filesIn(argv[i])) {
            std::cerr << file.filename().string() << std::endl; // The last one is the one to look at.
            replay(file);
            ++count;
        }
    }
    std::cerr << count << " inputs replayed" << std::endl;
    return count > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
