#include "app/option_table.h"

OptionTable::OptionTable()
    : noBackup('b', "no_bak", "Don't create a back up file"),
      dot('d', "dot", "Create a dot file output"),
      consoleLog('l', "consoleLog", "Console log"),
      outputDirectory('o', "outputDir", "Specify the output directory", "output directory"),
      interfaceName('i', "checkInterfaceName",
                    "Return 0 if any interfaces with the specified name are registered (can be combined with )",
                    "interface name"),
      roleName('r', "checkInterfaceRolename",
               "Return 0 if any interfaces with the specified role name are registered (can be combined with )",
               "role name"),
      domainName('m', "checkDomainArg",
                 "Return 0 if any domain with the specified name are registered (can be combined with )",
                 "domain name"),
      interfaceType('t', "checkInterfaceType",
                    "Used in combination with -i, -r and -s; only return 0 if an interface is registered with the "
                    "specified type",
                    "skeleton | stub"),
      registrationState('s', "checkInterfaceRegState",
                        "Used in combination with -i, -r and -s; only return 0 if an interface is in the specified "
                        "registration state",
                        "invalid | registered | unregistered | preregistered | unknown"),
      channelName(parser.setRemainingArgument("ZUNIC channel name"))
{
    parser.addOption(noBackup);
    parser.addOption(dot);
    parser.addOption(consoleLog);
    parser.addOption(outputDirectory);
    parser.addOption(interfaceName);
    parser.addOption(roleName);
    parser.addOption(domainName);
    parser.addOption(interfaceType);
    parser.addOption(registrationState);
}
