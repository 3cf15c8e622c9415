// What a program pays that registers with DLT as the tool does, fills containers of the standard library with as many
// records and links as a full registry has, and empties them.
//
// usage: bare_containers LINKS_OF_EACH_INTERFACE
#include "dlt_calls.h"

#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>

int main(int, char** argv)
{
    Bench::makeDltCalls();
    constexpr std::uint16_t cInterfaces = 1024;
    constexpr std::size_t cNameSize = 115;
    struct Record
    {
        std::string interfaceName;
        std::string roleName;
        std::string domainName;
        std::uint64_t numbers[4];
    };
    const int links = std::atoi(argv[1]);
    std::map<std::uint16_t, Record> interfaces;
    std::multimap<std::uint16_t, std::uint16_t> connections;
    for (std::uint16_t id = 0; id < cInterfaces; ++id) {
        for (int i = 0; i < links; ++i) {
            connections.emplace_hint(connections.end(), id, static_cast<std::uint16_t>(i));
        }
        Record& record = interfaces[id];
        record.interfaceName.assign(cNameSize, 'i');
        record.roleName.assign(cNameSize, 'r');
        record.domainName.assign("local");
    }
    return interfaces.empty() ? 1 : 0;
}
