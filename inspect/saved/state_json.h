#ifndef INSPECT_SAVED_STATE_JSON_H
#define INSPECT_SAVED_STATE_JSON_H

#include "inspect/bus/bus_state.h"
#include "inspect/exit_status.h"

#include <istream>
#include <nlohmann/json.hpp>
#include <ostream>

// The state of a bus as JSON, as docs/bus_state.schema.json tells it. Numbers are numbers; states and types are words,
// or numbers where the bus has one that means nothing; a name is a string if it is valid UTF-8, else an array of bytes.

namespace Inspect {

constexpr auto cStateSchema = "zunic-bus-state/1";

using Json = nlohmann::ordered_json;

/// The text is no state; `what` says why, with line and place, in one line.
class NoState : public Failure
{
public:
    explicit NoState(const std::string& why) : Failure(eExitNoStateFile, why) {}
};

Json toJson(const Interface& interface);
Json toJson(const Communicator& communicator);
Json toJson(const Channel::MemoryManagerFigures& figures);
Json toJson(const Slot& slot);
/// Without its slots.
Json toJson(const MessageStorage& storage);
/// A name: a string if it is valid UTF-8, else an array of bytes.
Json nameToJson(const std::string& bytes);

/// "2026-11-23T07:52:01.123Z".
std::string timeText(std::chrono::milliseconds sinceEpoch);

/// Writes the state piece by piece: it needs no memory for the whole text. The stream tells of failures.
void writeState(std::ostream& out, const BusState& state);

/// Reads what `writeState` wrote, and what later versions may have added to it. Throws NoState.
BusState readState(std::istream& in);

} // namespace Inspect

#endif
