#ifndef APP_OPTION_TABLE_H
#define APP_OPTION_TABLE_H

#include "oxa/oxa_command_line_parser.h"

/// The command line of the program: its parser, its options and its positional argument.
struct OptionTable
{
    OptionTable();

    OxaCommandLineParser parser;
    OxaCommandLineOptionFlag noBackup;
    OxaCommandLineOptionFlag dot;
    OxaCommandLineOptionFlag consoleLog;
    OxaCommandLineOptionString outputDirectory;
    OxaCommandLineOptionString interfaceName;
    OxaCommandLineOptionString roleName;
    OxaCommandLineOptionString domainName;
    OxaCommandLineOptionString interfaceType;
    OxaCommandLineOptionString registrationState;
    OxaCommandLineRemainingArgument* channelName; ///< the parser's own; may be null
};

#endif
