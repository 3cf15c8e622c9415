// Runs a fuzzer's entry point once for each file of the folder that the command line names.

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <set>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

int main(int argc, char** argv)
{
    if (argc != 2 || (LLVMFuzzerInitialize && LLVMFuzzerInitialize(&argc, &argv) != 0)) {
        return EXIT_FAILURE;
    }
    const std::filesystem::directory_iterator folder(argv[1]);
    const std::set<std::filesystem::path> files(begin(folder), end(folder));
    for (const std::filesystem::path& path : files) {
        std::cerr << path.filename().string() << std::endl; // The last one is the one to look at.
        std::ifstream file(path, std::ios::binary);
        const std::vector<char> bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    }
    std::cerr << files.size() << " inputs replayed" << std::endl;
    return files.empty() ? EXIT_FAILURE : EXIT_SUCCESS;
}
