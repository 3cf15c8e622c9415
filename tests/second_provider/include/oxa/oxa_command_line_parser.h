#ifndef SECOND_PROVIDER_OXA_COMMAND_LINE_PARSER_H
#define SECOND_PROVIDER_OXA_COMMAND_LINE_PARSER_H

#include "oxa/oxa_result.h"

#include <list>
#include <string>
#include <vector>

struct OxaCommandLineOption
{
    bool isSet() const { return value != nullptr; }

    std::string letters; // for getopt
    const char* value = nullptr;
};

struct OxaCommandLineOptionFlag : OxaCommandLineOption
{
    OxaCommandLineOptionFlag(const char& name, const std::string&, const std::string&) { letters = {name}; }
};

struct OxaCommandLineOptionString : OxaCommandLineOption
{
    OxaCommandLineOptionString(const char& name, const std::string&, const std::string&, const std::string&)
    {
        letters = {name, ':'};
    }
    OxaResult getArgumentValue(const char*& given) const;
};

struct OxaCommandLineRemainingArgument
{
    bool hasValues() const { return !values.empty(); }
    OxaResult getValues(std::list<std::string>& given) const;

    std::list<std::string> values;
};

class OxaCommandLineParser
{
public:
    void addOption(OxaCommandLineOption& option) { mOptions.push_back(&option); }
    OxaCommandLineRemainingArgument* setRemainingArgument(const std::string&) { return &mRemaining; }
    OxaResult parse(int& argc, char** argv);

private:
    std::vector<OxaCommandLineOption*> mOptions;
    OxaCommandLineRemainingArgument mRemaining;
};

#endif
