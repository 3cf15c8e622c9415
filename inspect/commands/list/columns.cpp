#include "inspect/commands/list/columns.h"

#include "inspect/cli/command.h"

#include <algorithm>
#include <sstream>
#include <strings.h>

namespace Inspect {

namespace {

std::string namesOf(std::span<const Column> columns)
{
    std::string names;
    for (const Column& column : columns) {
        names += (names.empty() ? "" : ", ") + std::string(column.mName);
    }
    return names;
}

std::size_t placeOf(const std::string& name, std::span<const Column> columns)
{
    const auto found = std::ranges::find_if(
        columns, [&](const Column& column) { return strcasecmp(column.mName, name.c_str()) == 0; });
    if (found == columns.end()) {
        throw UsageMistake("unknown column " + name + " (columns: " + namesOf(columns) + ")");
    }
    return static_cast<std::size_t>(found - columns.begin());
}

} // namespace

std::vector<std::size_t> chooseColumns(std::span<const Column> columns, const std::string& choice)
{
    std::vector<std::size_t> places;
    const bool isAddition = choice.starts_with('+');
    if (choice.empty() || isAddition) {
        for (std::size_t place = 0; place < columns.size(); ++place) {
            if (columns[place].mShown == Shown::eAlways) {
                places.push_back(place);
            }
        }
    }
    std::istringstream names(choice.substr(isAddition ? 1 : 0));
    for (std::string name; std::getline(names, name, ',');) {
        places.push_back(placeOf(name, columns));
    }
    return places;
}

} // namespace Inspect
