#include "oxa/oxa_command_line_parser.h"

#include "getopt_words.h"
#include "printable.h"

#include <algorithm>
#include <iostream>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

namespace {

class RemainingArgument : public OxaCommandLineRemainingArgument
{
public:
    bool hasValues() const override { return !mValues.empty(); }

    OxaResult getValues(std::list<std::string>& values) const override
    {
        values.insert(values.end(), mValues.begin(), mValues.end());
        return OxaResult::cOk;
    }

    void setValues(std::vector<std::string> values) { mValues = std::move(values); }

private:
    std::vector<std::string> mValues;
};

class HelpFormatter : public CLI::Formatter
{
public:
    // Narrower than any option's name, so that each description starts on a line of its own.
    HelpFormatter() { column_width(8); }

    std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override
    {
        return make_usage(app, std::move(name)) + make_groups(app, mode);
    }

    std::string make_option_usage(const CLI::Option* option) const override
    {
        return "[" + make_option_name(option, true) + "]";
    }
};

/// The last component of `argv[0]`; empty when there is none.
std::string programName(int argc, char** argv)
{
    const std::string_view path = argc > 0 && argv[0] != nullptr ? argv[0] : "";
    return std::string(path.substr(path.rfind('/') + 1));
}

void complain(const std::string& program, const std::string& text)
{
    const std::string prefix = program.empty() ? "" : program + ": ";
    std::cerr << printable(prefix + text) + "\n" << std::flush;
}

} // namespace

class OxaCommandLineParser::Implementation
{
public:
    Implementation() { mApp.formatter(std::make_shared<HelpFormatter>()); }

    void addOption(OxaCommandLineOption& option);
    OxaCommandLineRemainingArgument* setRemainingArgument(const std::string& name);
    OxaResult parse(const std::string& program, const std::vector<std::string>& words);

private:
    struct Flag
    {
        OxaCommandLineOption& option;
        const CLI::Option& read;
    };
    struct String
    {
        OxaCommandLineOptionString& option;
        const CLI::Option& read;
    };

    void forgetLastParse();
    void readWords(const std::vector<std::string>& words);
    OxaResult showHelp(const std::string& program);

    CLI::App mApp;
    std::vector<Flag> mFlags;
    std::vector<String> mStrings;
    RemainingArgument mRemainingArgument;
    const CLI::Option* mReadRemaining = nullptr;
};

void OxaCommandLineParser::Implementation::addOption(OxaCommandLineOption& option)
{
    const std::string names = std::string{'-', option.mShortName} + ",--" + option.mLongName;
    if (auto* string = dynamic_cast<OxaCommandLineOptionString*>(&option)) {
        CLI::Option* read = mApp.add_option(names, CLI::callback_t{}, option.mDescription);
        read->take_last()->option_text("<" + string->mArgumentName + ">");
        mStrings.push_back({*string, *read});
    } else {
        mFlags.push_back({option, *mApp.add_flag(names, std::as_const(option.mDescription))});
    }
}

OxaCommandLineRemainingArgument* OxaCommandLineParser::Implementation::setRemainingArgument(const std::string& name)
{
    if (mReadRemaining != nullptr) {
        return nullptr;
    }
    const auto withoutMark = [](const std::string& word) { return word.substr(1); };
    mReadRemaining = mApp.add_option(name)->expected(-1)->take_all()->transform(withoutMark);
    return &mRemainingArgument;
}

OxaResult OxaCommandLineParser::Implementation::parse(const std::string& program, const std::vector<std::string>& words)
{
    forgetLastParse();
    try {
        readWords(words);
        return OxaResult::cOk;
    } catch (const CLI::CallForHelp&) {
        return showHelp(program);
    } catch (const std::runtime_error& error) {
        complain(program, std::string(error.what()) + " (see --help)");
        return OxaResult::cParameterInvalid;
    }
}

void OxaCommandLineParser::Implementation::forgetLastParse()
{
    for (const Flag& flag : mFlags) {
        flag.option.mIsSet = false;
    }
    for (const String& string : mStrings) {
        string.option.mIsSet = false;
        string.option.mValue.clear();
    }
    mRemainingArgument.setValues({});
}

void OxaCommandLineParser::Implementation::readWords(const std::vector<std::string>& words)
{
    std::vector<std::string> plainWords = getoptWords(mApp, words);
    // CLI11 takes the words from the back of the vector.
    std::reverse(plainWords.begin(), plainWords.end());
    mApp.parse(std::move(plainWords));

    for (const Flag& flag : mFlags) {
        flag.option.mIsSet = flag.read.count() > 0;
    }
    for (const String& string : mStrings) {
        if (string.read.count() > 0) {
            string.option.mIsSet = true;
            string.option.mValue = string.read.results().back();
        }
    }
    if (mReadRemaining != nullptr) {
        mRemainingArgument.setValues(mReadRemaining->results());
    }
}

OxaResult OxaCommandLineParser::Implementation::showHelp(const std::string& program)
{
    mApp.name(printable(program));
    if (std::cout << mApp.help() << std::flush) {
        return OxaResult::cHelpRequested;
    }
    complain(program, "cannot write the help text");
    return OxaResult::cFailed;
}

OxaCommandLineParser::OxaCommandLineParser() : mImplementation(std::make_unique<Implementation>()) {}

OxaCommandLineParser::~OxaCommandLineParser() = default;

void OxaCommandLineParser::addOption(OxaCommandLineOption& option)
{
    mImplementation->addOption(option);
}

OxaCommandLineRemainingArgument* OxaCommandLineParser::setRemainingArgument(const std::string& name)
{
    return mImplementation->setRemainingArgument(name);
}

OxaResult OxaCommandLineParser::parse(int& argc, char** argv)
{
    try {
        const std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
        return mImplementation->parse(programName(argc, argv), words);
    } catch (...) {
        // Out of memory, or a stream that throws: nothing that could be said about the command line.
        return OxaResult::cFailed;
    }
}
