#include "support/text.h"
#include "writer/text/oxa_zunic_enquirer_interface_text_file.h"

#include "oxa/oxa_memory_manager.h"

#include <cerrno>
#include <gmock/gmock.h>

using testing::EndsWith;

namespace {

/// As it lies in a channel's handle.
struct Dispatcher
{
    std::uint32_t count;
    const std::byte* entries;
    std::byte rest[16];
};

const std::byte entries[2 * 320] = {};
Dispatcher dispatcher{1, entries, {}};

std::string sectionOf(Dispatcher* asked)
{
    alignas(8) std::byte storage[64] = {};
    Oxa::OxaZunicEnquirerInterfaceTextFile writer("unused");
    writer.setMemoryDispatcher(reinterpret_cast<oxa_zunic_memory_dispatcher_struct*>(asked));
    writer.setMessageStorage(reinterpret_cast<oxa_zunic_message_storage*>(storage), nullptr);
    return TestSupport::writtenBy([&](auto* out) { writer.printMemoryInfo(out); });
}

} // namespace

/// Stands in front of the platform's function: knows no numbers, and there are two managers when it has been asked.
extern "C" int oxa_memory_manager_get_memory_block_status(oxa_memory_manager*, uint64_t*, uint64_t*, uint64_t*,
                                                          uint64_t*, uint64_t*)
{
    dispatcher.count = 2;
    return EINVAL;
}

TEST(MemoryManagers, AreListedWithoutNumbersAndWhenAddedMeanwhile)
{
    const std::string record = "\nBlockSize 0, InitialNumBlocks 0, AdditionalBlocksOnEnlarge 0 | "
                               "TotalNumBlocks 0, UsedBlocks 0\n";
    EXPECT_THAT(sectionOf(&dispatcher), EndsWith("#\n\n" + record + record));
    Dispatcher empty{0, entries, {}};
    EXPECT_THAT(sectionOf(&empty), EndsWith("\n" + std::string(43, '#') + "\n\n"));
    Dispatcher broken{2, nullptr, {}};
    EXPECT_EQ(sectionOf(&broken), "");
    EXPECT_EQ(sectionOf(nullptr), "");
}
