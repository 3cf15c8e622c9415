#include "support/temporary_directory.h"
#include "writer/text/oxa_zunic_enquirer_interface_text_file.h"

#include "oxa/oxa_memory_manager.h"

#include <cerrno>
#include <cstring>
#include <functional>
#include <gmock/gmock.h>

using namespace Oxa;

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
    static constexpr std::size_t cEntrySize = 320;
    static constexpr std::size_t cManagerInEntry = 288;

    TestSupport::TemporaryDirectory mDirectory;
    OxaZunicEnquirerInterfaceTextFile mWriter{mDirectory.path().string()};
    std::byte mEntries[4 * cEntrySize] = {};
    alignas(8) std::byte mDispatcher[32] = {};
    alignas(8) std::byte mStorage[64] = {};
    std::vector<std::size_t> mAsked;

    void setDispatcher(std::uint32_t count, const std::byte* entries)
    {
        std::memset(mDispatcher, 0xEE, sizeof mDispatcher);
        std::memcpy(mDispatcher, &count, sizeof count);
        std::memcpy(mDispatcher + 8, &entries, sizeof entries);
        mWriter.setMemoryDispatcher(reinterpret_cast<oxa_zunic_memory_dispatcher_struct*>(mDispatcher));
        mWriter.setMessageStorage(reinterpret_cast<oxa_zunic_message_storage*>(mStorage), nullptr);
    }

    void SetUp() override
    {
        answer = [&](const std::byte* manager, std::uint64_t*(&numbers)[5]) {
            const auto offset = static_cast<std::size_t>(manager - mEntries);
            EXPECT_EQ(offset % cEntrySize, cManagerInEntry);
            mAsked.push_back(offset / cEntrySize);
            for (std::uint64_t i = 0; i < 5; ++i) {
                *numbers[i] = 10 * mAsked.size() + i;
            }
            return 0;
        };
    }

    std::string section()
    {
        const std::string path = mDirectory / "section";
        std::ofstream out(path);
        mWriter.printMemoryInfo(&out);
        out.close();
        return TestSupport::readFile(path);
    }

    std::string box() const
    {
        const std::string edge(43, '#');
        const std::string sides = "#" + std::string(41, ' ') + "#\n";
        return "\n\n" + edge + "\n" + sides + "#      MemoryMgrsInfo LIST                #\n" + sides + edge + "\n\n";
    }
};

constexpr auto cFirst = "\nBlockSize 10, InitialNumBlocks 11, AdditionalBlocksOnEnlarge 12 | TotalNumBlocks 13, "
                        "UsedBlocks 14\n";
constexpr auto cSecond = "\nBlockSize 20, InitialNumBlocks 21, AdditionalBlocksOnEnlarge 22 | TotalNumBlocks 23, "
                         "UsedBlocks 24\n";

TEST_F(MemoryManagers, OneRecordForEachManager)
{
    setDispatcher(2, mEntries);
    EXPECT_EQ(section(), box() + cFirst + cSecond);
    EXPECT_THAT(mAsked, testing::ElementsAre(0, 1));
}

TEST_F(MemoryManagers, AddedWhileTheListIsWritten)
{
    setDispatcher(1, mEntries);
    const auto before = answer;
    answer = [&](const std::byte* manager, std::uint64_t*(&numbers)[5]) {
        const std::uint32_t count = 2;
        std::memcpy(mDispatcher, &count, sizeof count);
        return before(manager, numbers);
    };
    EXPECT_EQ(section(), box() + cFirst + cSecond);
}

TEST_F(MemoryManagers, NumbersThatTheLibraryDoesNotGiveAreZero)
{
    setDispatcher(1, mEntries);
    answer = [](const std::byte*, std::uint64_t*(&)[5]) { return EINVAL; };
    EXPECT_EQ(section(), box() + "\nBlockSize 0, InitialNumBlocks 0, AdditionalBlocksOnEnlarge 0 | TotalNumBlocks 0, "
                                 "UsedBlocks 0\n");
}

TEST_F(MemoryManagers, BoxAloneOrNothing)
{
    setDispatcher(0, mEntries);
    EXPECT_EQ(section(), box());
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
    EXPECT_THAT(mAsked, testing::IsEmpty());
}

} // namespace
