#include "support/text.h"
#include "writer/text/oxa_zunic_enquirer_interface_text_file.h"

#include "oxa/oxa_memory_manager.h"

#include <cerrno>
#include <cstring>
#include <functional>
#include <gmock/gmock.h>

using namespace Oxa;
using testing::EndsWith;

namespace {

/// Stands behind the platform's function: is told which manager object is asked for its numbers.
std::function<int(const std::byte* manager, std::uint64_t* (&numbers)[5])> answer;

} // namespace

extern "C" int oxa_memory_manager_get_memory_block_status(oxa_memory_manager* manager, uint64_t* block_size,
                                                          uint64_t* initial_blocks, uint64_t* additional_blocks,
                                                          uint64_t* total_blocks, uint64_t* used_blocks)
{
    std::uint64_t* numbers[] = {block_size, initial_blocks, additional_blocks, total_blocks, used_blocks};
    return answer(reinterpret_cast<const std::byte*>(manager), numbers);
}

namespace {

class MemoryManagers : public testing::Test
{
protected:
    OxaZunicEnquirerInterfaceTextFile mWriter{"unused"};
    std::byte mEntries[2 * 320] = {};
    alignas(8) std::byte mDispatcher[32] = {};
    alignas(8) std::byte mStorage[64] = {};

    void setDispatcher(std::uint32_t count, const std::byte* entries)
    {
        std::memcpy(mDispatcher, &count, sizeof count);
        std::memcpy(mDispatcher + 8, &entries, sizeof entries);
        mWriter.setMemoryDispatcher(reinterpret_cast<oxa_zunic_memory_dispatcher_struct*>(mDispatcher));
        mWriter.setMessageStorage(reinterpret_cast<oxa_zunic_message_storage*>(mStorage), nullptr);
    }

    std::string section()
    {
        return TestSupport::writtenBy([&](auto* out) { mWriter.printMemoryInfo(out); });
    }
};

TEST_F(MemoryManagers, OneRecordForEachManagerAddedMeanwhileOrNot)
{
    setDispatcher(1, mEntries);
    answer = [&](const std::byte* manager, std::uint64_t*(&numbers)[5]) {
        const auto offset = static_cast<std::uint64_t>(manager - mEntries); // the numbers tell who was asked
        for (std::uint64_t i = 0; i < 5; ++i) {
            *numbers[i] = offset + i;
        }
        setDispatcher(2, mEntries);
        return 0;
    };
    EXPECT_THAT(section(), EndsWith("#\n\n\nBlockSize 288, InitialNumBlocks 289, AdditionalBlocksOnEnlarge 290 | "
                                    "TotalNumBlocks 291, UsedBlocks 292\n"
                                    "\nBlockSize 608, InitialNumBlocks 609, AdditionalBlocksOnEnlarge 610 | "
                                    "TotalNumBlocks 611, UsedBlocks 612\n"));
}

TEST_F(MemoryManagers, NumbersThatTheLibraryDoesNotGiveAreZero)
{
    setDispatcher(1, mEntries);
    answer = [](const std::byte*, std::uint64_t*(&)[5]) { return EINVAL; };
    EXPECT_THAT(section(), EndsWith("#\n\n\nBlockSize 0, InitialNumBlocks 0, AdditionalBlocksOnEnlarge 0 | "
                                    "TotalNumBlocks 0, UsedBlocks 0\n"));
}

TEST_F(MemoryManagers, BoxAloneOrNothing)
{
    answer = nullptr;
    setDispatcher(0, mEntries);
    EXPECT_THAT(section(), EndsWith("\n" + std::string(43, '#') + "\n\n"));
    setDispatcher(2, nullptr);
    EXPECT_EQ(section(), "");
    setDispatcher(2, mEntries);
    mWriter.setMessageStorage(nullptr, nullptr);
    EXPECT_EQ(section(), "");
    setDispatcher(2, mEntries);
    mWriter.setMemoryDispatcher(nullptr);
    EXPECT_EQ(section(), "");

    setDispatcher(2, mEntries);
    std::ofstream closed;
    mWriter.printMemoryInfo(&closed);
    mWriter.printMemoryInfo(nullptr);
}

} // namespace
