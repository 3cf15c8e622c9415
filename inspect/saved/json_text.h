#ifndef INSPECT_SAVED_JSON_TEXT_H
#define INSPECT_SAVED_JSON_TEXT_H

#include "json/json_fwd.h"

#include <string>

namespace Inspect {

/// The value as JSON text, in which every character can be seen: control characters (DEL and C1, too), line separators,
/// and characters that have no width or change the writing direction are escaped. All JSON of this program is written
/// through it. With `indent`, a member and an element a line.
std::string jsonText(const ZunicJson::Json& value, int indent = -1);

} // namespace Inspect

#endif
