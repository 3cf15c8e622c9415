#include "oxa/oxa_zunic_communication_channel.h"
#include "oxa/oxa_zunic_function_storage.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>
#include <vector>

namespace {

template <typename Number>
void put(char* bytes, Number number)
{
    std::memcpy(bytes, &number, sizeof number);
}

constexpr std::size_t cCommunicators = 8 + 1024 * 952;
constexpr std::size_t cMessageStorage = cCommunicators + 1024 * 224 + 48;

void putInterface(char* entry, uint16_t id, const char* role, uint32_t type)
{
    std::strcpy(entry, "Elsewhere");
    std::strcpy(entry + 256, role);
    std::strcpy(entry + 512, "local");
    put(entry + 768, type);
    put(entry + 780, uint16_t{12});
    put(entry + 782, id);
    put(entry + 784, uint32_t{1});
    put(entry + 928, id);
}

} // namespace

/// What readers know of a handle comes first.
struct oxa_zunic_communication_channel
{
    char handle[600] = {};
    std::vector<char> registry = std::vector<char>(cMessageStorage + 64);
    char message[448] = {};
    char managerEntry[320] = {};

    oxa_zunic_communication_channel();
};

/// A skeleton with id 3, connected to a stub with id 4, both of communicator 12; a message from one to the other.
oxa_zunic_communication_channel::oxa_zunic_communication_channel()
{
    put(handle + 552, uint32_t{1});
    put(handle + 560, &managerEntry[0]);
    put(handle + 584, registry.data());
    put(handle + 592, &message[0]);
    put(managerEntry + 288, uint64_t{4321});

    putInterface(&registry[8], 3, "Provider", 2);
    putInterface(&registry[8 + 952], 4, "User", 1);
    put(&registry[8 + 800], uint64_t{1} << 4);
    for (std::size_t i = 0; i < 1024; ++i) {
        put(&registry[cCommunicators + i * 224 + 4], uint16_t{4096});
    }
    put(&registry[cCommunicators], static_cast<uint32_t>(getpid()));
    put(&registry[cCommunicators + 4], uint16_t{12});
    put(&registry[cCommunicators + 8], uint32_t{1});

    put(&registry[cMessageStorage + 48], uint32_t{1});
    put(message, static_cast<uint16_t>(3 | 3 << 4));
    put(message + 4, uint32_t{0x7FFFFF});
    put(message + 8, uint64_t{1} << 4);
    put(message + 392, uint32_t{77});
}

int oxa_zunic_communication_channel_create(const char* name, oxa_zunic_communication_channel** channel)
{
    *channel = std::strcmp(name, "memory") == 0 ? new oxa_zunic_communication_channel : nullptr;
    return *channel != nullptr ? 0 : ENOENT;
}

bool oxa_zunic_communication_channel_is_initialized(const oxa_zunic_communication_channel*)
{
    return true;
}

void oxa_zunic_communication_channel_destroy(oxa_zunic_communication_channel* channel)
{
    delete channel;
}

int oxa_zunic_function_storage_map(oxa_zunic_memory_dispatcher_struct*, oxa_zunic_range_location location,
                                   oxa_zunic_function_storage* storage)
{
    static const uint16_t count = 1;
    static const uint32_t record[] = {0, 0, 4};
    static const char names[] = "ping";
    char* const bytes = reinterpret_cast<char*>(storage);
    put(bytes + 32, &count);
    put(bytes + 48, &record[0]);
    put(bytes + 56, &names[0]);
    return location.memory_manager_index == 3 ? 0 : ENOENT;
}

bool oxa_zunic_function_storage_is_valid(const oxa_zunic_function_storage*)
{
    return true;
}
