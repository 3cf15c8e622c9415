#ifndef INSPECT_CLI_DURATIONS_H
#define INSPECT_CLI_DURATIONS_H

#include <chrono>
#include <optional>
#include <string>

namespace Inspect {

/// "500ms", "10s", "2m", "1h", "0", or "none", which has no value. Throws UsageMistake, which names the option.
std::optional<std::chrono::milliseconds> readDuration(const char* option, const std::string& text);

/// The same for a time that has to be so long at least, which "none" is not.
std::chrono::milliseconds readInterval(const char* option, const std::string& text, std::chrono::milliseconds shortest);

/// "1s", "500ms"
std::string durationText(std::chrono::milliseconds duration);

} // namespace Inspect

#endif
