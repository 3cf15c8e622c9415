#include "oxa/oxa_command_line_parser.h"

OxaCommandLineOption::OxaCommandLineOption(const char& shortName, const std::string& longName,
                                           const std::string& description)
    : mShortName(shortName), mLongName(longName), mDescription(description)
{}

OxaCommandLineOption::~OxaCommandLineOption() = default;

OxaCommandLineOptionFlag::OxaCommandLineOptionFlag(const char& shortName, const std::string& longName,
                                                   const std::string& description)
    : OxaCommandLineOption(shortName, longName, description)
{}

OxaCommandLineOptionFlag::~OxaCommandLineOptionFlag() = default;

OxaCommandLineOptionString::OxaCommandLineOptionString(const char& shortName, const std::string& longName,
                                                       const std::string& description, const std::string& argumentName)
    : OxaCommandLineOption(shortName, longName, description), mArgumentName(argumentName)
{}

OxaCommandLineOptionString::~OxaCommandLineOptionString() = default;

OxaResult OxaCommandLineOptionString::getArgumentValue(const char*& value) const
{
    if (!isSet()) {
        return OxaResult::cObjectNotFound;
    }
    value = mValue.c_str();
    return OxaResult::cOk;
}

OxaCommandLineRemainingArgument::~OxaCommandLineRemainingArgument() = default;
