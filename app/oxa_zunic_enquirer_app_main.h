#ifndef APP_OXA_ZUNIC_ENQUIRER_APP_MAIN_H
#define APP_OXA_ZUNIC_ENQUIRER_APP_MAIN_H

/// The whole run of the program. Returns its exit status: the code of the deciding OxaResult.
int OxaZunicEnquirerAppMain(int argc, char** argv);

#endif
