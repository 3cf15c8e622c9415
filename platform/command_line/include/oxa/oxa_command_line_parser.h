#ifndef OXA_OXA_COMMAND_LINE_PARSER_H
#define OXA_OXA_COMMAND_LINE_PARSER_H

#include "oxa/oxa_result.h"

#include <list>
#include <memory>
#include <string>

/// An option of a command line, known by a short letter and a long name.
class OxaCommandLineOption
{
public:
    virtual ~OxaCommandLineOption();

    OxaCommandLineOption(const OxaCommandLineOption&) = delete;
    OxaCommandLineOption& operator=(const OxaCommandLineOption&) = delete;

    /// True when the last parse met the option.
    bool isSet() const { return mIsSet; }

protected:
    OxaCommandLineOption(const char& shortName, const std::string& longName, const std::string& description);

private:
    friend class OxaCommandLineParser;

    char mShortName;
    std::string mLongName;
    std::string mDescription;
    bool mIsSet = false;
};

/// An option without a value.
class OxaCommandLineOptionFlag : public OxaCommandLineOption
{
public:
    OxaCommandLineOptionFlag(const char& shortName, const std::string& longName, const std::string& description);
    ~OxaCommandLineOptionFlag() override;
};

/// An option with one value; of a repeated option the last value counts.
class OxaCommandLineOptionString : public OxaCommandLineOption
{
public:
    /// `argumentName` stands for the value in the help text.
    OxaCommandLineOptionString(const char& shortName, const std::string& longName, const std::string& description,
                               const std::string& argumentName);
    ~OxaCommandLineOptionString() override;

    /// Points `value` at the given value, which lives as long as the option and until the next parse.
    /// cObjectNotFound, with `value` unchanged, when the option was not given.
    OxaResult getArgumentValue(const char*& value) const;

private:
    friend class OxaCommandLineParser;

    std::string mArgumentName;
    std::string mValue;
};

/// The words of the command line that belong to no option.
class OxaCommandLineRemainingArgument
{
public:
    virtual ~OxaCommandLineRemainingArgument();

    /// True when at least one value was given.
    virtual bool hasValues() const = 0;

    /// Appends the values to `values`, in the order in which they were given. cOk, also when there are none.
    virtual OxaResult getValues(std::list<std::string>& values) const = 0;
};

/// Reads a command line as getopt_long users write it, except that long names are not to be shortened.
class OxaCommandLineParser
{
public:
    OxaCommandLineParser();
    ~OxaCommandLineParser();

    OxaCommandLineParser(const OxaCommandLineParser&) = delete;
    OxaCommandLineParser& operator=(const OxaCommandLineParser&) = delete;

    /// Keeps a reference to `option`, which has to outlive every call of `parse`.
    /// Throws std::runtime_error for a name that is taken (`h` and `help` are the parser's own) or cannot be one.
    void addOption(OxaCommandLineOption& option);

    /// Declares the positional argument, called `name` in the help text. The parser owns what is returned.
    /// Null when it was declared before. Without it the command line may hold options only.
    OxaCommandLineRemainingArgument* setRemainingArgument(const std::string& name);

    /// Reads `argv[1]` to `argv[argc - 1]`; `argv[0]`, which may be null, names the program. Changes neither.
    /// cOk when the command line is acceptable. cHelpRequested, with the help text on standard output, for `-h` or
    /// `--help`. cParameterInvalid, with one line on standard error, for anything that cannot be read. cFailed when
    /// the help text cannot be written or memory runs out.
    /// May be called again: each call forgets the one before, and a refused line or a call for help sets nothing.
    OxaResult parse(int& argc, char** argv);

private:
    class Implementation;
    std::unique_ptr<Implementation> mImplementation;
};

#endif
