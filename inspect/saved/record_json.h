#ifndef INSPECT_SAVED_RECORD_JSON_H
#define INSPECT_SAVED_RECORD_JSON_H

#include "inspect/bus/bus_state.h"
#include "json/json_fwd.h"

// The records of a state as JSON, as docs/bus_state.schema.json has it. Numbers are numbers; states and types are
// words, or numbers where the bus has one without a meaning; a name is a string if it is valid UTF-8, else an array of
// bytes.

namespace Inspect {

using ZunicJson::Json;
using ZunicJson::JsonPlace;

/// A name: a string if it is valid UTF-8, else an array of bytes.
Json nameToJson(const std::string& bytes);

/// Of each type that has a table in fields.h; what is a list of records in it is left out.
template <typename Record>
Json toJson(const Record& record);
/// With the members of its process.
Json toJson(const Communicator& communicator);

/// The reverse. Throws Misplaced where a member is missing or has a value that it cannot have; unknown members are left
/// alone.
template <typename Record>
void readRecord(const JsonPlace& place, Record& record);
void readRecord(const JsonPlace& place, Communicator& communicator);

} // namespace Inspect

#endif
