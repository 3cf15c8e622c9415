#ifndef APP_OPTION_TABLE_H
#define APP_OPTION_TABLE_H

#include "oxa/oxa_command_line_parser.h"

/// The command line of the program: its parser, its options and its positional argument.
struct OptionTable
{
    OptionTable()
    {
        for (OxaCommandLineOption* const option : std::initializer_list<OxaCommandLineOption*>{
                 &mNoBackup, &mDot, &mConsoleLog, &mOutputDirectory, &mInterfaceName, &mRoleName, &mDomainName,
                 &mInterfaceType, &mRegistrationState}) {
            mParser.addOption(*option);
        }
    }

    OxaCommandLineParser mParser;
    OxaCommandLineOptionFlag mNoBackup{'b', "no_bak", "Don't create a back up file"};
    OxaCommandLineOptionFlag mDot{'d', "dot", "Create a dot file output"};
    OxaCommandLineOptionFlag mConsoleLog{'l', "consoleLog", "Console log"};
    OxaCommandLineOptionString mOutputDirectory{'o', "outputDir", "Specify the output directory", "output directory"};
    OxaCommandLineOptionString mInterfaceName{
        'i', "checkInterfaceName",
        "Return 0 if any interfaces with the specified name are registered (can be combined with )", "interface name"};
    OxaCommandLineOptionString mRoleName{
        'r', "checkInterfaceRolename",
        "Return 0 if any interfaces with the specified role name are registered (can be combined with )", "role name"};
    OxaCommandLineOptionString mDomainName{
        'm', "checkDomainArg", "Return 0 if any domain with the specified name are registered (can be combined with )",
        "domain name"};
    OxaCommandLineOptionString mInterfaceType{
        't', "checkInterfaceType",
        "Used in combination with -i, -r and -s; only return 0 if an interface is registered with the specified type",
        "skeleton | stub"};
    OxaCommandLineOptionString mRegistrationState{
        's', "checkInterfaceRegState",
        "Used in combination with -i, -r and -s; only return 0 if an interface is in the specified registration state",
        "invalid | registered | unregistered | preregistered | unknown"};
    OxaCommandLineRemainingArgument* mChannelName =
        mParser.setRemainingArgument("ZUNIC channel name"); ///< the parser's own; may be null
};

#endif
