#include "oxa/oxa_command_line_parser.h"

#include <unistd.h>

OxaResult OxaCommandLineOptionString::getArgumentValue(const char*& given) const
{
    given = value;
    return OxaResult::cOk;
}

OxaResult OxaCommandLineRemainingArgument::getValues(std::list<std::string>& given) const
{
    given = values;
    return OxaResult::cOk;
}

OxaResult OxaCommandLineParser::parse(int& argc, char** argv)
{
    std::string letters;
    for (const OxaCommandLineOption* option : mOptions) {
        letters += option->letters;
    }
    for (int letter = 0; (letter = getopt(argc, argv, letters.c_str())) != -1;) {
        if (letter == '?') {
            return OxaResult::cParameterInvalid;
        }
        for (OxaCommandLineOption* option : mOptions) {
            if (option->letters[0] == letter) {
                option->value = optarg != nullptr ? optarg : "";
            }
        }
    }
    mRemaining.values.assign(argv + optind, argv + argc);
    return OxaResult::cOk;
}
