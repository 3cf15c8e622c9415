#include "support/records.h"
#include "support/temporary_directory.h"
#include "writer/dot/oxa_zunic_enquirer_interface_dot_file.h"
#include "writer/text/oxa_zunic_enquirer_interface_text_file.h"

#include <cstring>
#include <filesystem>
#include <gmock/gmock.h>
#include <unistd.h>

using namespace Oxa;
using namespace OxaZunic;
using testing::ElementsAre;
using testing::IsEmpty;
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
    OxaZunicEnquirerInterfaceDotFile mWriter{"unused"};
    std::list<std::string> mFunctions;

    int decodeFunctions()
    {
        mFunctions.clear();
        return mWriter.decodeFunctionStorage(makeInterface(7), nullptr, mFunctions);
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

TEST_F(RecordDecoding, InterfaceFields)
{
    const OxaZunicInterfaceInformation info = makeInterface(
        7,
        {.name = "Audio", .role = "Player", .communicatorId = 65535, .state = eOxaZunicRegistrationStatePreregistered});
    const std::pair<const char*, const char*> fields[] = {{"InterfaceId", "7"},
                                                          {"CommunicatorId", "65535"},
                                                          {"RegistrationState", "Required"},
                                                          {"mInterfaceName", "Audio"},
                                                          {"mRoleName", "Player"},
                                                          {"mDomainName", "local"},
                                                          {"type", "Skeleton"},
                                                          {"version", "1.0.3"},
                                                          {"FunctionStorageRangeLocation", "1 4"},
                                                          {"interfaceId", ""},
                                                          {"ProcessId", ""},
                                                          {"Type", ""},
                                                          {"", ""}};
    for (const auto& [key, text] : fields) {
        EXPECT_EQ(mWriter.decodeInterface(info, key), text) << key;
    }
}

TEST_F(RecordDecoding, CommunicatorFields)
{
    const OxaZunicCommunicatorInformation info(2, 4294967295U, eOxaZunicRegistrationStateUnregistered);
    const std::pair<const char*, const char*> fields[] = {{"ProcessId", "4294967295"},
                                                          {"CommunicatorId", "2"},
                                                          {"RegistrationState", "unRegistered"},
                                                          {"processId", ""},
                                                          {"InterfaceId", ""}};
    for (const auto& [key, text] : fields) {
        EXPECT_EQ(mWriter.decodeCommunicator(info, key), text) << key;
    }
}

TEST_F(RecordDecoding, WordsForNumbersOutsideTheirRange)
{
    const auto type = [&](std::uint32_t value) {
        return mWriter.createType(static_cast<InterfaceInstanceType>(value));
    };
    const auto state = [&](std::uint32_t value) {
        return mWriter.convertRegistrationState(static_cast<OxaZunicRegistrationState>(value));
    };
    EXPECT_THAT((std::vector{type(0), type(1), type(2), type(3), type(0xFFFFFFFF)}),
                ElementsAre("Undefined", "Stub", "Skeleton", "Undefined", "Undefined"));
    EXPECT_THAT((std::vector{state(0), state(1), state(2), state(3), state(4), state(9)}),
                ElementsAre("Invalid", "Registered", "unRegistered", "Required", "Unknown", "Unknown"));
    EXPECT_EQ(mWriter.versionNumberToString(Version(10, 0, 4294967295U)), "10.0.4294967295");
}

TEST_F(RecordDecoding, ListsFunctionsByTheirPosition)
{
    EXPECT_EQ(decodeFunctions(), 0);
    EXPECT_THAT(mFunctions, ElementsAre("\t0 | open", "\t1 | close", "\t2 | closeo", "\t3 | "));
    EXPECT_EQ(functionStorage.location.memory_manager_index, 1);
    EXPECT_EQ(functionStorage.location.range_index, 4);

    functionStorage.count = 0;
    EXPECT_EQ(decodeFunctions(), 0);
    EXPECT_THAT(mFunctions, IsEmpty());
}

TEST_F(RecordDecoding, ListsNothingOfAStorageThatIsNotThere)
{
    functionStorage.isValid = false;
    EXPECT_EQ(decodeFunctions(), 0);
    EXPECT_THAT(mFunctions, IsEmpty());

    functionStorage.isValid = true;
    functionStorage.mapResult = ENOENT;
    EXPECT_EQ(decodeFunctions(), ENOENT);
    EXPECT_THAT(mFunctions, IsEmpty());
}

TEST_F(RecordDecoding, AvailableFunctionsInTheReport)
{
    const TestSupport::TemporaryDirectory directory;
    OxaZunicEnquirerInterfaceTextFile writer(directory.path().string());
    std::ofstream out(directory / "functions");
    writer.showAvailableFunctions(makeInterface(7), &out);
    functionStorage.count = 0;
    writer.showAvailableFunctions(makeInterface(7), &out);
    functionStorage.mapResult = ENOENT;
    writer.showAvailableFunctions(makeInterface(7), &out);
    out.close();
    EXPECT_EQ(TestSupport::readFile(directory / "functions"),
              "Available functions [id | name]:\n\t0 | open\n\t1 | close\n\t2 | closeo\n\t3 | \n");
}

TEST_F(RecordDecoding, ApplicationNameOfARunningProcess)
{
    std::string name = "replaced";
    EXPECT_TRUE(mWriter.get_app_name(static_cast<unsigned>(getpid()), name) == OxaResult::cOk);
    EXPECT_EQ(name, std::filesystem::read_symlink("/proc/self/exe").filename());
}

TEST_F(RecordDecoding, ApplicationNameOfNoProcess)
{
    for (const unsigned processId : {0U, 4294967295U}) {
        std::string name = "kept";
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        EXPECT_TRUE(mWriter.get_app_name(processId, name) == OxaResult::cFailed);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  "ERROR: Unable to find application name from /proc/" + std::to_string(processId) + "/exe\n");
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "readlink error: No such file or directory\n");
        EXPECT_EQ(name, "kept");
    }
}

TEST_F(RecordDecoding, OutputFileIsEmptiedWhenOpened)
{
    const TestSupport::TemporaryDirectory directory;
    const std::string path = directory / "interfaces_communicators_info.dot";
    TestSupport::writeFile(path, "of an earlier run");
    OxaZunicEnquirerInterfaceDotFile writer(directory.path().string() + "/");
    EXPECT_TRUE(writer.createOutputFile() == OxaResult::cOk);
    EXPECT_EQ(TestSupport::readFile(path), "");

    testing::internal::CaptureStdout();
    EXPECT_TRUE(OxaZunicEnquirerInterfaceDotFile(directory / "missing").createOutputFile() == OxaResult::cFailed);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error opening the output file!\n");
}

} // namespace
