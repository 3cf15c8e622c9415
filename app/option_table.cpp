#include "app/option_table.h"

OptionTable::OptionTable()
    : mNoBackup('b', "no_bak", "Don't create a back up file"),
      mDot('d', "dot", "Create a dot file output"),
      mConsoleLog('l', "consoleLog", "Console log"),
      mOutputDirectory('o', "outputDir", "Specify the output directory", "output directory"),
      mInterfaceName('i', "checkInterfaceName",
                     "Return 0 if any interfaces with the specified name are registered (can be combined with )",
                     "interface name"),
      mRoleName('r', "checkInterfaceRolename",
                "Return 0 if any interfaces with the specified role name are registered (can be combined with )",
                "role name"),
      mDomainName('m', "checkDomainArg",
                  "Return 0 if any domain with the specified name are registered (can be combined with )",
                  "domain name"),
      mInterfaceType('t', "checkInterfaceType",
                     "Used in combination with -i, -r and -s; only return 0 if an interface is registered with the "
                     "specified type",
                     "skeleton | stub"),
      mRegistrationState('s', "checkInterfaceRegState",
                         "Used in combination with -i, -r and -s; only return 0 if an interface is in the specified "
                         "registration state",
                         "invalid | registered | unregistered | preregistered | unknown"),
      mChannelName(mParser.setRemainingArgument("ZUNIC channel name"))
{
    mParser.addOption(mNoBackup);
    mParser.addOption(mDot);
    mParser.addOption(mConsoleLog);
    mParser.addOption(mOutputDirectory);
    mParser.addOption(mInterfaceName);
    mParser.addOption(mRoleName);
    mParser.addOption(mDomainName);
    mParser.addOption(mInterfaceType);
    mParser.addOption(mRegistrationState);
}
