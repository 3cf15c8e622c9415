#ifndef APP_OPTION_TABLE_H
#define APP_OPTION_TABLE_H

#include "oxa/oxa_command_line_parser.h"

/// The command line of the program: its parser, its options and its positional argument.
struct OptionTable
{
    OptionTable();

    OxaCommandLineParser mParser;
    OxaCommandLineOptionFlag mNoBackup;
    OxaCommandLineOptionFlag mDot;
    OxaCommandLineOptionFlag mConsoleLog;
    OxaCommandLineOptionString mOutputDirectory;
    OxaCommandLineOptionString mInterfaceName;
    OxaCommandLineOptionString mRoleName;
    OxaCommandLineOptionString mDomainName;
    OxaCommandLineOptionString mInterfaceType;
    OxaCommandLineOptionString mRegistrationState;
    OxaCommandLineRemainingArgument* mChannelName; ///< the parser's own; may be null
};

#endif
