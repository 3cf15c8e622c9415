#ifndef ZUNIC_DEMO_SCENARIO_READER_H
#define ZUNIC_DEMO_SCENARIO_READER_H

#include "scenario.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace ZunicDemo {

/// A mistake in a scenario file. what() is one line: the file, the place (a path such as processes[2].name, or
/// line:column where the text is no JSON) and what was expected there.
class ScenarioMistake : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Reads a scenario (docs/scenario.md) and checks everything that can be checked before there is a channel.
/// Throws ScenarioMistake.
Scenario readScenarioFile(const std::string& fileName);

/// The same for text that is already in memory; `fileName` is for the messages alone.
Scenario readScenario(std::string_view text, const std::string& fileName);

} // namespace ZunicDemo

#endif
