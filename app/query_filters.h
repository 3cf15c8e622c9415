#ifndef APP_QUERY_FILTERS_H
#define APP_QUERY_FILTERS_H

#include "channel/record_types.h"

// The words of the command line for types and states: the name of an enumerator, or a short word for it. The whole
// word has to match, in the same case. False, with the second argument untouched, for any other word. Null is no word.

bool getInterfaceType(const char* word, Oxa::InterfaceInstanceType& type);
bool getRegistrationState(const char* word, OxaZunic::OxaZunicRegistrationState& state);

#endif
