#include "oxa/oxa_command_line_parser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <getopt.h>
#include <iostream>
#include <map>
#include <random>
#include <sstream>
#include <string_view>
#include <vector>

namespace {

using Words = std::vector<std::string>;

/// The words of `line`, which stand between bars: "-i||-b" has an empty one.
Words split(const std::string& line, char bar = '|')
{
    Words words;
    std::istringstream rest(line + bar);
    for (std::string word; std::getline(rest, word, bar);) {
        words.push_back(word);
    }
    return words;
}

/// An `argv` over copies of the words, with "/opt/bin/bus_tool" in front.
class Argv
{
public:
    explicit Argv(Words words) : mWords(std::move(words))
    {
        mWords.insert(mWords.begin(), "/opt/bin/bus_tool");
        for (std::string& word : mWords) {
            mPointers.push_back(word.data());
        }
        count = static_cast<int>(mWords.size());
        mPointers.push_back(nullptr);
    }

    char** data() { return mPointers.data(); }

    int count = 0;

private:
    Words mWords;
    std::vector<char*> mPointers;
};

/// What an accepted command line means: the values of options by letter (empty ones for flags), and the words left.
std::string describe(const std::map<char, std::string>& given, const Words& remaining)
{
    std::string text = "accepted:";
    for (const auto& [letter, value] : given) {
        text.append(" -").append(1, letter).append("=").append(value);
    }
    for (const std::string& word : remaining) {
        text.append(" [").append(word).append("]");
    }
    return text;
}

/// The C library's reading of `words`.
std::string readByGetopt(const Words& words)
{
    static const option cLongOptions[] = {{"no_bak", no_argument, nullptr, 'b'},
                                          {"dot", no_argument, nullptr, 'd'},
                                          {"outputDir", required_argument, nullptr, 'o'},
                                          {"checkInterfaceName", required_argument, nullptr, 'i'},
                                          {"checkInterfaceType", required_argument, nullptr, 't'},
                                          {"help", no_argument, nullptr, 'h'},
                                          {nullptr, 0, nullptr, 0}};
    Argv argv(words);
    std::map<char, std::string> given;
    opterr = 0;
    optind = 0; // starts anew
    for (int letter = 0; (letter = getopt_long(argv.count, argv.data(), "bdo:i:t:h", cLongOptions, nullptr)) != -1;) {
        if (letter == 'h' || letter == '?') {
            return letter == 'h' ? "help" : "refused";
        }
        given[static_cast<char>(letter)] = optarg != nullptr ? optarg : "";
    }
    return describe(given, {argv.data() + optind, argv.data() + argv.count});
}

class CommandLineTest : public testing::Test
{
protected:
    CommandLineTest() : mOutputBefore(std::cout.rdbuf(mOutput.rdbuf())), mErrorsBefore(std::cerr.rdbuf(mErrors.rdbuf()))
    {
        unsetenv("POSIXLY_CORRECT"); // would keep getopt_long from permuting
        mParser.addOption(mNoBackup);
        mParser.addOption(mDot);
        mParser.addOption(mOutputDirectory);
        mParser.addOption(mName);
        mParser.addOption(mType);
    }

    ~CommandLineTest() override
    {
        std::cout.rdbuf(mOutputBefore);
        std::cerr.rdbuf(mErrorsBefore);
    }

    OxaResult parse(const Words& words)
    {
        mOutput.str("");
        mErrors.str("");
        Argv argv(words);
        return mParser.parse(argv.count, argv.data());
    }

    /// What is set after the last parse.
    std::string read() const
    {
        std::map<char, std::string> given;
        for (const auto& [letter, flag] : {std::pair('b', &mNoBackup), std::pair('d', &mDot)}) {
            if (flag->isSet()) {
                given[letter] = "";
            }
        }
        for (const auto& [letter, option] :
             {std::pair('o', &mOutputDirectory), std::pair('i', &mName), std::pair('t', &mType)}) {
            const char* value = nullptr;
            EXPECT_EQ(option->getArgumentValue(value), option->isSet() ? OxaResult::cOk : OxaResult::cObjectNotFound);
            if (option->isSet()) {
                given[letter] = value;
            }
        }
        std::list<std::string> values{"before"};
        EXPECT_EQ(mRemaining->getValues(values), OxaResult::cOk);
        EXPECT_EQ(values.front(), "before");
        EXPECT_EQ(mRemaining->hasValues(), values.size() > 1);
        return describe(given, {std::next(values.begin()), values.end()});
    }

    /// Returns how the C library reads `words`.
    std::string expectSameAsGetopt(const Words& words)
    {
        const OxaResult result = parse(words);
        const std::string expected = readByGetopt(words);
        const std::string ours = result == OxaResult::cOk              ? read()
                                 : result == OxaResult::cHelpRequested ? "help"
                                                                       : "refused";
        EXPECT_EQ(ours, expected) << testing::PrintToString(words) << '\n' << mErrors.str();
        EXPECT_TRUE(result == OxaResult::cOk || read() == describe({}, {})) << "something stays set";
        EXPECT_EQ(mOutput.str().empty(), ours != "help");
        EXPECT_EQ(mErrors.str().empty(), ours != "refused");
        if (ours == "refused") { // in one line, with nothing in it that a terminal would obey
            const std::string text = mErrors.str();
            EXPECT_TRUE(text.starts_with("bus_tool: ") && text.ends_with(" (see --help)\n")) << text;
            const auto isControl = [](char byte) { return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F; };
            EXPECT_EQ(std::count_if(text.begin(), text.end(), isControl), 1) << testing::PrintToString(text);
        }
        return expected;
    }

    std::ostringstream mOutput;
    std::ostringstream mErrors;
    std::streambuf* mOutputBefore;
    std::streambuf* mErrorsBefore;
    OxaCommandLineOptionFlag mNoBackup{'b', "no_bak", ""};
    OxaCommandLineOptionFlag mDot{'d', "dot", ""};
    OxaCommandLineOptionString mOutputDirectory{'o', "outputDir", "", "output directory"};
    OxaCommandLineOptionString mName{'i', "checkInterfaceName", "", "interface name"};
    OxaCommandLineOptionString mType{'t', "checkInterfaceType", "", "skeleton | stub"};
    OxaCommandLineParser mParser;
    OxaCommandLineRemainingArgument* mRemaining = mParser.setRemainingArgument("ZUNIC channel name");
};

TEST_F(CommandLineTest, ReadsWhatGetoptReads)
{
    for (const std::string& line :
         split("-bd;-oDIR;-o=DIR;--outputDir=a=b;--outputDir==a;-i;-bi;--checkInterfaceName;-ih;--dot=;--dot=x;"
               "--dot=true;--no_bak=false;--help=x;-;-b-;-b-d;-b=;-b d;-5;-!;- b;---;--!dot;-- dot;--Dot;--no-bak;--b;"
               "-:;-b|--dot|-b|-dd;-bdo|DIR;--outputDir|DIR;--outputDir=|-b;-o|first|--outputDir=second|-othird;-i|;"
               "-i|--dot;-i|--|-b;-i|-h;-bh|--foo;-h|-o;--foo|--help;channel|--help|-x;-|-b|--|-;|-b|;"
               "channel|-b|other|-o|DIR|third;-b|--|-d|--|--help|--foo;-i|[a,b]|-t|{}|-o|%%;-o\n|\x1b[0m|-t\xff;"
               "[a,b]|[]|[|]|{}|{a}|%%|a,b|\"q\"|'q'|x=y|true|/b|++;--checkInterfaceName=[a]|-t\"q\"|--outputDir={a}",
               ';')) {
        expectSameAsGetopt(split(line));
    }
    expectSameAsGetopt({});
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
    inline static const Words cWords = split("-b|-d|-bd|-o|-i|-t|-bdo|--dot|--outputDir|--no_bak|channel|--|-||-oDIR|"
                                             "-i=x|--outputDir=|[a,b]|--dot|-db|-h|--checkInterfaceType=stub");
    inline static const Words cPieces = split("--dot|--help|--outputDir|--checkInterfaceName|--|true|\xc3\xa9");
    static constexpr std::string_view cCharacters = "bdoith-=x[]{}%, !'\"\n\x1b:7";
    std::mt19937 mEngine; // its default seed gives the same lines in every run
};

TEST_F(CommandLineTest, ReadsRandomLinesAsGetoptDoes)
{
    LineGenerator generator;
    std::map<char, int> readings; // by the first letter
    for (int count = 0; count < 20000 && !HasFailure(); ++count) {
        ++readings[expectSameAsGetopt(generator.line()).front()];
    }
    // The lines are worth something only if many of each kind are among them.
    EXPECT_TRUE(readings['a'] > 5000 && readings['r'] > 5000 && readings['h'] > 500);
}

TEST_F(CommandLineTest, ComplaintsNameTheOffendingWord)
{
    const std::pair<const char*, const char*> complaints[] = {
        {"-b|--foo=bar", "unrecognized option '--foo=bar'"},
        {"-bxd", "unrecognized option '-x' in '-bxd'"},
        {"-b\xc3\xb6", "unrecognized option '-\xc3\xb6' in '-b\xc3\xb6'"},
        {"--dot=x", "option '--dot' takes no value, but '--dot=x' gives one"},
        {"-i", "option '-i' requires a value"},
        {"-bdi", "option '-i' in '-bdi' requires a value"},
        {"--outputDir", "option '--outputDir' requires a value"},
        {"--a\nb\x1b[2J\x7f\xc2\x9b", R"(unrecognized option '--a\x0ab\x1b[2J\x7f\xc2\x9b')"},
    };
    for (const auto& [line, complaint] : complaints) {
        EXPECT_EQ(parse(split(line)), OxaResult::cParameterInvalid);
        EXPECT_EQ(mErrors.str(), "bus_tool: " + std::string(complaint) + " (see --help)\n");
    }
}

TEST_F(CommandLineTest, HelpThatCannotBeWrittenIsAFailure)
{
    std::cout.setstate(std::ios::badbit);
    EXPECT_EQ(parse({"--help"}), OxaResult::cFailed);
    std::cout.clear();
    EXPECT_EQ(mErrors.str(), "bus_tool: cannot write the help text\n");
}

TEST_F(CommandLineTest, LivesWithoutAProgramName)
{
    int none = 0;
    EXPECT_EQ(mParser.parse(none, nullptr), OxaResult::cOk);

    int two = 2;
    std::string word = "-x";
    char* nameless[] = {nullptr, word.data(), nullptr};
    EXPECT_EQ(mParser.parse(two, nameless), OxaResult::cParameterInvalid);
    EXPECT_EQ(mErrors.str(), "unrecognized option '-x' (see --help)\n");
}

TEST_F(CommandLineTest, NamesAreGivenOnceAndWordsRefusedIfNotDeclared)
{
    OxaCommandLineOptionString sameLetter('b', "other", "", "value");
    OxaCommandLineOptionFlag help('x', "help", "");
    EXPECT_THROW(mParser.addOption(sameLetter), std::runtime_error);
    EXPECT_THROW(mParser.addOption(help), std::runtime_error);
    EXPECT_EQ(mParser.setRemainingArgument("second"), nullptr);

    OxaCommandLineParser bare;
    Argv argv({"--", "word"});
    EXPECT_EQ(bare.parse(argv.count, argv.data()), OxaResult::cParameterInvalid);
    EXPECT_EQ(mErrors.str(), "bus_tool: unexpected argument 'word' (see --help)\n");
}

} // namespace
