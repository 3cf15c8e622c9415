#include "support/records.h"
#include "support/text.h"
#include "writer/text/oxa_zunic_enquirer_interface_text_file.h"

#include <cstring>
#include <gtest/gtest.h>

using namespace Oxa;
using namespace OxaZunic;
using TestSupport::makeInterface;

namespace {

/// What the platform's library gives out instead of the contents of a channel.
struct FunctionStorage
{
    int mapResult = 0;
    bool isValid = true;
    std::uint16_t count = 0;
    std::vector<std::uint32_t> records; ///< three numbers for each function
    std::string names;
    oxa_zunic_range_location location{};
} functionStorage;

template <typename Value>
void putAddress(oxa_zunic_function_storage* storage, std::size_t offset, const Value* address)
{
    std::memcpy(reinterpret_cast<char*>(storage) + offset, &address, sizeof address);
}

} // namespace

extern "C" int oxa_zunic_function_storage_map(oxa_zunic_memory_dispatcher_struct* /*dispatcher*/,
                                              oxa_zunic_range_location location, oxa_zunic_function_storage* storage)
{
    functionStorage.location = location;
    putAddress(storage, 32, &functionStorage.count);
    putAddress(storage, 48, functionStorage.records.data());
    putAddress(storage, 56, functionStorage.names.data());
    return functionStorage.mapResult;
}

extern "C" bool oxa_zunic_function_storage_is_valid(const oxa_zunic_function_storage* /*storage*/)
{
    return functionStorage.isValid;
}

namespace {

class RecordDecoding : public testing::Test
{
protected:
    OxaZunicEnquirerInterfaceTextFile mWriter{"unused"};

    std::string functionsSection()
    {
        return TestSupport::writtenBy([&](auto* out) { mWriter.showAvailableFunctions(makeInterface(7), out); });
    }

    void SetUp() override
    {
        functionStorage = {};
        functionStorage.count = 4;
        // Out of order, overlapping and empty names; the first number of a record means nothing to the tool.
        functionStorage.records = {9, 5, 4, 9, 9, 5, 9, 0, 6, 9, 14, 0};
        functionStorage.names = "close"
                                "open"
                                "close";
    }
};

TEST_F(RecordDecoding, WordsForNumbersOutsideTheirRange)
{
    EXPECT_EQ(mWriter.createType(eInterfaceInstanceTypeUndefined), "Undefined");
    EXPECT_EQ(mWriter.createType(static_cast<InterfaceInstanceType>(0xFFFFFFFF)), "Undefined");
    EXPECT_EQ(mWriter.convertRegistrationState(static_cast<OxaZunicRegistrationState>(0xFFFFFFFF)), "Unknown");
    EXPECT_EQ(mWriter.versionNumberToString(Version(10, 0, 4294967295U)), "10.0.4294967295");
}

TEST_F(RecordDecoding, ListsFunctionsByTheirPosition)
{
    EXPECT_EQ(functionsSection(), "Available functions [id | name]:\n\t0 | open\n\t1 | close\n\t2 | closeo\n\t3 | \n");
    EXPECT_EQ(functionStorage.location.memory_manager_index, 1);
    EXPECT_EQ(functionStorage.location.range_index, 4);
    functionStorage.count = 0;
    EXPECT_EQ(functionsSection(), "");
}

TEST_F(RecordDecoding, ListsNothingOfAStorageThatIsNotThere)
{
    functionStorage.isValid = false;
    EXPECT_EQ(functionsSection(), "");
    functionStorage.isValid = true;
    functionStorage.mapResult = ENOENT;
    EXPECT_EQ(functionsSection(), "");
}

} // namespace
