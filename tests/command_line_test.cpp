#include "oxa/oxa_command_line_parser.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <vector>

namespace {

using Words = std::vector<std::string>;

/// The words of `line`, which stand between bars: "-i||-b" has an empty one.
Words split(const std::string& line)
{
    Words words;
    std::istringstream rest(line + '|');
    for (std::string word; std::getline(rest, word, '|');) {
        words.push_back(word);
    }
    return words;
}

class CommandLine : public testing::Test
{
protected:
    CommandLine() : mOutputBefore(std::cout.rdbuf(mOutput.rdbuf())), mErrorsBefore(std::cerr.rdbuf(mErrors.rdbuf()))
    {
        mParser.addOption(mNoBackup);
        mParser.addOption(mDot);
        mParser.addOption(mOutputDirectory);
        mParser.addOption(mName);
    }

    ~CommandLine() override
    {
        std::cout.rdbuf(mOutputBefore);
        std::cerr.rdbuf(mErrorsBefore);
    }

    OxaResult parse(OxaCommandLineParser& parser, Words words)
    {
        mOutput.str("");
        mErrors.str("");
        std::string program = "/opt/bin/bus_tool";
        std::vector<char*> pointers{program.data()};
        for (std::string& word : words) {
            pointers.push_back(word.data());
        }
        int count = static_cast<int>(pointers.size());
        pointers.push_back(nullptr);
        return parser.parse(count, pointers.data());
    }

    /// What is set after the last parse.
    std::string settings() const
    {
        std::string text = std::string(mNoBackup.isSet() ? "-b " : "") + (mDot.isSet() ? "-d " : "");
        for (const auto& [letter, option] : {std::pair("-o", &mOutputDirectory), std::pair("-i", &mName)}) {
            const char* value = "unset";
            EXPECT_EQ(option->getArgumentValue(value), option->isSet() ? OxaResult::cOk : OxaResult::cObjectNotFound);
            text += option->isSet() ? letter + std::string("<") + value + "> " : "";
        }
        std::list<std::string> words;
        EXPECT_EQ(mRemaining->getValues(words), OxaResult::cOk);
        EXPECT_EQ(mRemaining->hasValues(), !words.empty());
        for (const std::string& word : words) {
            text += "<" + word + "> ";
        }
        return text;
    }

    /// What the words mean, or else the complaint about them.
    std::string read(const Words& words)
    {
        const OxaResult result = parse(mParser, words);
        EXPECT_EQ(mOutput.str().empty(), result != OxaResult::cHelpRequested);
        EXPECT_EQ(mErrors.str().empty(), result != OxaResult::cParameterInvalid);
        EXPECT_TRUE(result == OxaResult::cOk || settings().empty()) << "something stays set";
        return result == OxaResult::cHelpRequested ? "help" : settings() + mErrors.str();
    }

    std::ostringstream mOutput;
    std::ostringstream mErrors;
    std::streambuf* mOutputBefore;
    std::streambuf* mErrorsBefore;
    OxaCommandLineOptionFlag mNoBackup{'b', "no_bak", ""};
    OxaCommandLineOptionFlag mDot{'d', "dot", ""};
    OxaCommandLineOptionString mOutputDirectory{'o', "outputDir", "", "output directory"};
    OxaCommandLineOptionString mName{'i', "checkInterfaceName", "", "interface name"};
    OxaCommandLineParser mParser;
    OxaCommandLineRemainingArgument* mRemaining = mParser.setRemainingArgument("ZUNIC channel name");
};

TEST_F(CommandLine, IsReadAsGetoptReadsIt)
{
    const std::pair<const char*, const char*> cases[] = {
        {"-bd", "-b -d "},
        {"-b|--dot|-b|-dd", "-b -d "},
        {"-bdo|DIR", "-b -d -o<DIR> "},
        {"-oDIR", "-o<DIR> "},
        {"-o=DIR", "-o<=DIR> "},
        {"--outputDir=a=b", "-o<a=b> "},
        {"--outputDir=|-b", "-b -o<> "},
        {"-o|first|--outputDir=second|-othird", "-o<third> "},
        {"-i||-d", "-d -i<> "},
        {"-i|--dot", "-i<--dot> "},
        {"-i|-h", "-i<-h> "},
        {"-bh|--foo", "help"},
        {"channel|--help|-x", "help"},
        {"-|-b|--|-", "-b <-> <-> "},
        {"|-b", "-b <> "},
        {"channel|-b|other|-o|DIR|third", "-b -o<DIR> <channel> <other> <third> "},
        {"-b|--|-d|--|--help", "-b <-d> <--> <--help> "},
        // What means something to the parser beneath.
        {"[a,b]|[]|[|{}|%%|a,b|\"q\"|'q'|x=y|/b|++", "<[a,b]> <[]> <[> <{}> <%%> <a,b> <\"q\"> <'q'> <x=y> </b> <++> "},
        {"--checkInterfaceName=[a]|-o\"q\"", "-o<\"q\"> -i<[a]> "},
    };
    for (const auto& [line, meaning] : cases) {
        EXPECT_EQ(read(split(line)), meaning) << line;
    }
    EXPECT_EQ(read({}), "");
}

TEST_F(CommandLine, ComplaintIsOneLineThatNamesTheOffendingWord)
{
    const std::pair<const char*, const char*> cases[] = {
        {"-b|--foo=bar", "unrecognized option '--foo=bar'"},
        {"--foo|--help", "unrecognized option '--foo'"},
        {"--b", "unrecognized option '--b'"},
        {"-bxd", "unrecognized option '-x' in '-bxd'"},
        {"-b-d", "unrecognized option '--' in '-b-d'"},
        {"-b\xc3\xb6", "unrecognized option '-\xc3\xb6' in '-b\xc3\xb6'"},
        {"--dot=", "option '--dot' takes no value, but '--dot=' gives one"},
        {"-bdi", "option '-i' in '-bdi' requires a value"},
        {"--outputDir", "option '--outputDir' requires a value"},
        {"--a\nb\x1b[2J\x7f\xc2\x9b", R"(unrecognized option '--a\x0ab\x1b[2J\x7f\xc2\x9b')"},
    };
    for (const auto& [line, complaint] : cases) {
        EXPECT_EQ(read(split(line)), "bus_tool: " + std::string(complaint) + " (see --help)\n");
    }
    OxaCommandLineParser bare;
    EXPECT_EQ(parse(bare, {"--", "word"}), OxaResult::cParameterInvalid);
    EXPECT_EQ(mErrors.str(), "bus_tool: unexpected argument 'word' (see --help)\n");
}

TEST_F(CommandLine, HelpThatCannotBeWrittenIsAFailure)
{
    std::cout.setstate(std::ios::badbit);
    EXPECT_EQ(parse(mParser, {"--help"}), OxaResult::cFailed);
    std::cout.clear();
    EXPECT_EQ(mErrors.str(), "bus_tool: cannot write the help text\n");
}

} // namespace
