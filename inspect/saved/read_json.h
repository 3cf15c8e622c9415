#ifndef INSPECT_SAVED_READ_JSON_H
#define INSPECT_SAVED_READ_JSON_H

#include "channel/record_types.h"
#include "inspect/saved/no_state.h"
#include "json/json_place.h"

#include <functional>
#include <istream>

namespace Inspect {

using ZunicJson::Json;
using ZunicJson::JsonPlace;

/// Lets `read` read a JSON document that somebody may have damaged or made up: too deep nesting, too much text, what is
/// no JSON, and what `read` does not find as it expects throw NoState, with line and place.
void readJson(std::istream& in, const std::function<void(const JsonPlace& document)>& read);

/// Of three numbers. Throws Misplaced.
Oxa::Version readVersion(const JsonPlace& place);

} // namespace Inspect

#endif
