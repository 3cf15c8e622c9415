// Writes the same bytes to the same files with the same flushes as the program that was recorded, and does nothing
// else. Stops itself when all bytes are in memory, and begins to write when it is continued.
//
// usage: replay_writes RECORDING FOLDER
#include "recorded_write.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace {

struct Write
{
    std::ofstream* file;
    const char* bytes;
    std::streamsize size;
};

std::vector<char> readAll(const char* path)
{
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    std::vector<char> bytes(static_cast<std::size_t>(file.tellg()));
    file.seekg(0).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

std::vector<Write> parse(const std::vector<char>& recording, std::map<std::string, std::ofstream>& files)
{
    std::vector<Write> writes;
    for (const char* next = recording.data(); next != recording.data() + recording.size();) {
        Bench::RecordedWrite head{};
        std::memcpy(&head, next, sizeof head);
        const char* const name = next + sizeof head;
        const char* const bytes = name + head.nameSize;
        writes.push_back({&files[std::string(name, head.nameSize)], bytes, head.size});
        next = bytes + head.size;
    }
    return writes;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        return 2;
    }
    const std::vector<char> recording = readAll(argv[1]);
    std::map<std::string, std::ofstream> files;
    const std::vector<Write> writes = parse(recording, files);

    std::raise(SIGSTOP);

    for (auto& [name, file] : files) {
        file.open(std::string(argv[2]) + "/" + name, std::ios::out | std::ios::trunc);
    }
    for (const Write& write : writes) {
        write.file->write(write.bytes, write.size).flush();
    }
    // Not the time that it takes to forget what only a replay remembers.
    for (auto& [name, file] : files) {
        file.close();
    }
    std::_Exit(0);
}
