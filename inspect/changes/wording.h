#ifndef INSPECT_CHANGES_WORDING_H
#define INSPECT_CHANGES_WORDING_H

#include "inspect/changes/changes.h"

#include <string>

namespace Inspect {

/// The format of what diff and watch write by --json; docs/bus_diff.schema.json describes it.
constexpr auto cDiffSchema = "zunic-bus-diff/1";

/// The change in one line without newline, such as "~ interface Clock Provider local skeleton of clockd (12): version
/// 1.0.0 -> 1.1.0". Each name is one word, escaped where it would not be.
std::string lineOf(const Change& change);

Json toJson(const Change& change);

/// The line in the colour of its sign, the character that it begins with.
std::string colored(const std::string& line);

/// As the command line has it, and JSON: "process", "interface", "link", "memory" or "messages".
const char* kindWord(ChangeKind kind);

} // namespace Inspect

#endif
