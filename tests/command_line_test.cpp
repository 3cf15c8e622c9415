#include "oxa/oxa_command_line_parser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <getopt.h>
#include <iostream>
#include <list>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Words = std::vector<std::string>;
using testing::ElementsAre;
using testing::HasSubstr;

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

/// Takes what is written to a stream as long as it lives.
class StreamCapture
{
public:
    explicit StreamCapture(std::ostream& stream) : mStream(stream), mBefore(stream.rdbuf(mText.rdbuf())) {}
    StreamCapture(const StreamCapture&) = delete;
    StreamCapture& operator=(const StreamCapture&) = delete;
    ~StreamCapture() { mStream.rdbuf(mBefore); }

    std::string text() const { return mText.str(); }

private:
    std::ostringstream mText;
    std::ostream& mStream;
    std::streambuf* mBefore;
};

/// An `argv` over copies of the words, with "/opt/bin/bus_tool" in front.
class Argv
{
public:
    explicit Argv(const Words& words) : mWords{"/opt/bin/bus_tool"}
    {
        mWords.insert(mWords.end(), words.begin(), words.end());
        for (std::string& word : mWords) {
            mPointers.push_back(word.data());
        }
        mPointers.push_back(nullptr);
        count = static_cast<int>(mWords.size());
    }

    char** data() { return mPointers.data(); }

    int count = 0;

private:
    Words mWords;
    std::vector<char*> mPointers;
};

enum class Reading
{
    accepted,
    helpRequested,
    refused
};

/// What a command line means: options by letter, a flag with an empty value.
struct Outcome
{
    Reading reading = Reading::accepted;
    std::map<char, std::string> given;
    Words remaining;

    bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Outcome& outcome)
{
    stream << std::array{"accepted", "help", "refused"}[static_cast<std::size_t>(outcome.reading)];
    for (const auto& [letter, value] : outcome.given) {
        stream << " -" << letter << '=' << value;
    }
    for (const std::string& word : outcome.remaining) {
        stream << " [" << word << ']';
    }
    return stream;
}

/// The C library's reading of `words`.
Outcome readByGetopt(const Words& words)
{
    static const std::array<option, 7> cLongOptions{{{"no_bak", no_argument, nullptr, 'b'},
                                                     {"dot", no_argument, nullptr, 'd'},
                                                     {"outputDir", required_argument, nullptr, 'o'},
                                                     {"checkInterfaceName", required_argument, nullptr, 'i'},
                                                     {"checkInterfaceType", required_argument, nullptr, 't'},
                                                     {"help", no_argument, nullptr, 'h'},
                                                     {nullptr, 0, nullptr, 0}}};
    Argv argv(words);
    Outcome outcome;
    opterr = 0;
    optind = 0; // starts anew
    int letter = 0;
    while ((letter = getopt_long(argv.count, argv.data(), "bdo:i:t:h", cLongOptions.data(), nullptr)) != -1) {
        if (letter == 'h' || letter == '?') {
            return {letter == 'h' ? Reading::helpRequested : Reading::refused, {}, {}};
        }
        outcome.given[static_cast<char>(letter)] = optarg != nullptr ? optarg : "";
    }
    outcome.remaining.assign(argv.data() + optind, argv.data() + argv.count);
    return outcome;
}

class CommandLineTest : public testing::Test
{
protected:
    CommandLineTest()
    {
        unsetenv("POSIXLY_CORRECT"); // would keep getopt_long from permuting
        for (const auto& [letter, flag] : mFlags) {
            mParser.addOption(*flag);
        }
        for (const auto& [letter, string] : mStrings) {
            mParser.addOption(*string);
        }
    }

    OxaResult parse(const Words& words)
    {
        const StreamCapture standardOutput(std::cout);
        const StreamCapture standardError(std::cerr);
        Argv argv(words);
        const OxaResult result = mParser.parse(argv.count, argv.data());
        mOutputText = standardOutput.text();
        mErrorText = standardError.text();
        return result;
    }

    /// Our reading of `words`; what is still set after a refusal or a call for help would show in it.
    Outcome read(const Words& words)
    {
        const OxaResult result = parse(words);
        Outcome outcome;
        outcome.reading = result == OxaResult::cOk              ? Reading::accepted
                          : result == OxaResult::cHelpRequested ? Reading::helpRequested
                                                                : Reading::refused;
        outcome.given = given();
        std::list<std::string> remaining;
        EXPECT_EQ(mRemaining->getValues(remaining), OxaResult::cOk);
        EXPECT_EQ(mRemaining->hasValues(), !remaining.empty());
        outcome.remaining.assign(remaining.begin(), remaining.end());
        return outcome;
    }

    std::map<char, std::string> given() const
    {
        std::map<char, std::string> result;
        for (const auto& [letter, flag] : mFlags) {
            if (flag->isSet()) {
                result[letter] = "";
            }
        }
        for (const auto& [letter, string] : mStrings) {
            const char* value = nullptr;
            EXPECT_EQ(string->getArgumentValue(value), string->isSet() ? OxaResult::cOk : OxaResult::cObjectNotFound);
            EXPECT_EQ(value != nullptr, string->isSet());
            if (value != nullptr) {
                result[letter] = value;
            }
        }
        return result;
    }

    void expectSameAsGetopt(const Words& words)
    {
        const Outcome ours = read(words);
        EXPECT_EQ(ours, readByGetopt(words)) << testing::PrintToString(words) << '\n' << mErrorText;
        EXPECT_EQ(mOutputText.empty(), ours.reading != Reading::helpRequested);
        if (ours.reading == Reading::refused) {
            expectOneCleanLine(mErrorText);
        } else {
            EXPECT_EQ(mErrorText, "");
        }
    }

    static void expectOneCleanLine(const std::string& text)
    {
        EXPECT_TRUE(text.starts_with("bus_tool: ")) << text;
        EXPECT_TRUE(text.ends_with(" (see --help)\n")) << text;
        const auto isControl = [](char byte) { return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F; };
        EXPECT_EQ(std::count_if(text.begin(), text.end(), isControl), 1) << testing::PrintToString(text);
    }

    OxaCommandLineOptionFlag mNoBackup{'b', "no_bak", "Don't create a back up file"};
    OxaCommandLineOptionFlag mDot{'d', "dot", "Create a dot file output"};
    OxaCommandLineOptionString mOutput{'o', "outputDir", "Specify the output directory", "output directory"};
    OxaCommandLineOptionString mName{'i', "checkInterfaceName", "Return 0 (can be combined with )", "interface name"};
    OxaCommandLineOptionString mType{
        't', "checkInterfaceType",
        "Used in combination with -i, -r and -s; only return 0 if an interface is registered with the specified type",
        "skeleton | stub"};
    std::map<char, OxaCommandLineOptionFlag*> mFlags{{'b', &mNoBackup}, {'d', &mDot}};
    std::map<char, OxaCommandLineOptionString*> mStrings{{'o', &mOutput}, {'i', &mName}, {'t', &mType}};
    OxaCommandLineParser mParser;
    OxaCommandLineRemainingArgument* mRemaining = mParser.setRemainingArgument("ZUNIC channel name");
    std::string mOutputText;
    std::string mErrorText;
};

TEST_F(CommandLineTest, ReadsWhatGetoptReads)
{
    expectSameAsGetopt({});
    for (const std::string& word : split("-bd|-oDIR|-o=DIR|--outputDir=DIR|--outputDir=a=b|"
                                         "--outputDir==a|-i|-bi|--checkInterfaceName|-ih|--dot=|--dot=x|"
                                         "--dot=true|--no_bak=false|--help=x|-h|-|-b-|-b-d|-b=|-b d|-5|"
                                         "-!|- b|---|--!dot|-- dot|--Dot|--no-bak|--b|-:")) {
        expectSameAsGetopt({word});
    }
    for (const char* line : {"-b|--dot|-b|-dd",
                             "-bdo|DIR",
                             "--outputDir|DIR",
                             "--outputDir=|-b",
                             "-o|first|--outputDir=second|-othird",
                             "-i|",
                             "-i|-x",
                             "-i|--dot",
                             "-i|--|-b",
                             "-i|--outputDir=x|-d",
                             "-i|-h",
                             "-bh|--foo",
                             "-h|-o",
                             "--foo|--help",
                             "channel|--help|-x",
                             "channel|-b|other|-o|DIR|third",
                             "-b|--|-d|--|--help|--foo",
                             "|-b|",
                             "-|-b|--|-",
                             "[a,b]|[]|[|]|{}|{a}|%%|a,b|\"q\"|'q'|x=y|true|/b|++",
                             "-i|[a,b]|-t|{}|-o|%%",
                             "-i[a,b]|-t{}|-o%%",
                             "--checkInterfaceName=[a]|--checkInterfaceType=\"q\"|--outputDir={a}",
                             "-o\n|\x1b[0m|-t\xff"}) {
        expectSameAsGetopt(split(line));
    }
}

/// Makes up command lines from pieces that are near to the options, or to what a parser may take for syntax.
class LineGenerator
{
public:
    Words line()
    {
        Words words(pick(7));
        for (std::string& word : words) {
            do {
                word = pick(2) == 0 ? patchwork() : oneOf(cWords);
            } while (isAbbreviation(word));
        }
        return words;
    }

private:
    std::size_t pick(std::size_t count) { return mEngine() % count; }

    const std::string& oneOf(const Words& table) { return table[pick(table.size())]; }

    std::string patchwork()
    {
        std::string word(pick(3), '-');
        for (std::size_t count = pick(5); count > 0; --count) {
            word += pick(4) == 0 ? oneOf(cPieces) : std::string(1, cCharacters[pick(cCharacters.size())]);
        }
        return word;
    }

    /// getopt_long also takes an unambiguous start of a long name, which is not offered here.
    static bool isAbbreviation(const std::string& word)
    {
        const std::string name = word.substr(0, word.find('='));
        return name.size() > 2 && std::any_of(cLongNames.begin(), cLongNames.end(), [&name](const std::string& full) {
                   return full.starts_with(name) && full != name;
               });
    }

    inline static const Words cLongNames =
        split("--no_bak|--dot|--outputDir|--checkInterfaceName|--checkInterfaceType|--help");
    inline static const Words cWords = split("-b|-d|-bd|-o|-i|-t|-bdo|--dot|--outputDir|--no_bak|channel|--|"
                                             "-||-oDIR|-i=x|--outputDir=|[a,b]|--dot|-db|-h|"
                                             "--checkInterfaceType=stub");
    inline static const Words cPieces = split("--dot|--help|--outputDir|--checkInterfaceName|--|true|\xc3\xa9");
    static constexpr std::string_view cCharacters = "bdoith-=x[]{}%, !'\"\n\x1b:7";
    std::mt19937 mEngine; // its default seed gives the same lines in every run
};

TEST_F(CommandLineTest, ReadsRandomLinesAsGetoptDoes)
{
    LineGenerator generator;
    std::map<Reading, int> readings;
    for (int count = 0; count < 20000 && !HasFailure(); ++count) {
        const Words words = generator.line();
        expectSameAsGetopt(words);
        ++readings[readByGetopt(words).reading];
    }
    // The lines are worth something only if many of each kind are among them.
    EXPECT_GT(readings[Reading::accepted], 5000);
    EXPECT_GT(readings[Reading::refused], 5000);
    EXPECT_GT(readings[Reading::helpRequested], 500);
}

TEST_F(CommandLineTest, ComplaintsNameTheOffendingWord)
{
    const std::vector<std::pair<Words, std::string>> complaints{
        {{"-b", "--foo=bar"}, "unrecognized option '--foo=bar'"},
        {{"-x"}, "unrecognized option '-x'"},
        {{"-bxd"}, "unrecognized option '-x' in '-bxd'"},
        {{"-b\xc3\xb6"}, "unrecognized option '-\xc3\xb6' in '-b\xc3\xb6'"},
        {{"--dot=x"}, "option '--dot' takes no value, but '--dot=x' gives one"},
        {{"-i"}, "option '-i' requires a value"},
        {{"-bdi"}, "option '-i' in '-bdi' requires a value"},
        {{"--outputDir"}, "option '--outputDir' requires a value"},
        {{"--a\nb\x1b[2J\x7f\xc2\x9b"}, R"(unrecognized option '--a\x0ab\x1b[2J\x7f\xc2\x9b')"},
    };
    for (const auto& [words, complaint] : complaints) {
        EXPECT_EQ(parse(words), OxaResult::cParameterInvalid);
        EXPECT_EQ(mErrorText, "bus_tool: " + complaint + " (see --help)\n");
        EXPECT_EQ(mOutputText, "");
    }
}

TEST_F(CommandLineTest, HelpShowsEveryTextOnALineOfItsOwn)
{
    ASSERT_EQ(parse({"--help"}), OxaResult::cHelpRequested);
    EXPECT_THAT(mOutputText, testing::StartsWith("Usage: bus_tool [OPTIONS] [ZUNIC channel name]\n"));
    const std::vector<std::string> lines{
        "  -h,--help",
        "  -b,--no_bak\n        Don't create a back up file",
        "  -i,--checkInterfaceName <interface name>\n        Return 0 (can be combined with )",
        "  -t,--checkInterfaceType <skeleton | stub>\n        Used in combination with -i, -r and -s; only return 0 if "
        "an interface is registered with the specified type",
    };
    for (const std::string& line : lines) {
        EXPECT_THAT(mOutputText, HasSubstr("\n" + line + "\n"));
    }
}

TEST_F(CommandLineTest, HelpThatCannotBeWrittenIsAFailure)
{
    struct FullDevice : std::streambuf
    {
    } fullDevice; // what std::streambuf does by itself is to take nothing
    const StreamCapture standardError(std::cerr);
    std::streambuf* const before = std::cout.rdbuf(&fullDevice);
    Argv argv({"--help"});
    const OxaResult result = mParser.parse(argv.count, argv.data());
    std::cout.rdbuf(before);
    EXPECT_EQ(result, OxaResult::cFailed);
    EXPECT_EQ(standardError.text(), "bus_tool: cannot write the help text\n");
}

TEST_F(CommandLineTest, LivesWithoutAProgramName)
{
    const StreamCapture standardError(std::cerr);
    int none = 0;
    std::array<char*, 1> empty{nullptr};
    EXPECT_EQ(mParser.parse(none, empty.data()), OxaResult::cOk);
    EXPECT_EQ(mParser.parse(none, nullptr), OxaResult::cOk);

    int two = 2;
    std::string word = "-x";
    std::array<char*, 3> nameless{nullptr, word.data(), nullptr};
    EXPECT_EQ(mParser.parse(two, nameless.data()), OxaResult::cParameterInvalid);
    EXPECT_EQ(standardError.text(), "unrecognized option '-x' (see --help)\n");
}

TEST_F(CommandLineTest, RemainingValuesAreAppended)
{
    ASSERT_EQ(parse({"channel", ""}), OxaResult::cOk);
    std::list<std::string> values{"before"};
    EXPECT_EQ(mRemaining->getValues(values), OxaResult::cOk);
    EXPECT_THAT(values, ElementsAre("before", "channel", ""));
}

TEST(CommandLineDeclarationTest, WithoutRemainingArgumentWordsAreRefused)
{
    OxaCommandLineParser parser;
    const StreamCapture standardError(std::cerr);
    Argv argv({"--", "word"});
    EXPECT_EQ(parser.parse(argv.count, argv.data()), OxaResult::cParameterInvalid);
    EXPECT_EQ(standardError.text(), "bus_tool: unexpected argument 'word' (see --help)\n");
}

TEST(CommandLineDeclarationTest, NamesAreGivenOnce)
{
    OxaCommandLineParser parser;
    OxaCommandLineOptionFlag flag('b', "no_bak", "");
    OxaCommandLineOptionString sameLetter('b', "other", "", "value");
    OxaCommandLineOptionFlag help('x', "help", "");
    parser.addOption(flag);
    EXPECT_THROW(parser.addOption(sameLetter), std::runtime_error);
    EXPECT_THROW(parser.addOption(help), std::runtime_error);
    EXPECT_NE(parser.setRemainingArgument("first"), nullptr);
    EXPECT_EQ(parser.setRemainingArgument("second"), nullptr);
}

} // namespace
