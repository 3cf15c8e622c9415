#include "inspect/commands/list/columns.h"

#include "inspect/cli/command.h"

#include <algorithm>
#include <sstream>
#include <strings.h>

namespace Inspect {

namespace {

std::string namesOf(const std::vector<ColumnHead>& heads)
{
    std::string names;
    for (const ColumnHead& head : heads) {
        names += (names.empty() ? "" : ", ") + std::string(head.mName);
    }
    return names;
}

std::size_t placeOf(const std::string& name, const std::vector<ColumnHead>& heads)
{
    const auto found =
        std::ranges::find_if(heads, [&](const ColumnHead& head) { return strcasecmp(head.mName, name.c_str()) == 0; });
    if (found == heads.end()) {
        throw UsageMistake("unknown column: " + name + " (there are " + namesOf(heads) + ")");
    }
    return static_cast<std::size_t>(found - heads.begin());
}

} // namespace

std::vector<std::size_t> chooseColumns(const std::vector<ColumnHead>& heads, const std::string& choice)
{
    std::vector<std::size_t> places;
    const bool isAddition = choice.starts_with('+');
    if (choice.empty() || isAddition) {
        for (std::size_t place = 0; place < heads.size(); ++place) {
            if (heads[place].mShown == Shown::eAlways) {
                places.push_back(place);
            }
        }
    }
    std::istringstream names(choice.substr(isAddition ? 1 : 0));
    for (std::string name; std::getline(names, name, ',');) {
        places.push_back(placeOf(name, heads));
    }
    return places;
}

} // namespace Inspect
