#ifndef WRITER_TEXT_CONNECTIONS_H
#define WRITER_TEXT_CONNECTIONS_H

#include "enquirer/record_types.h"
#include "writer/text/link_sources.h"

#include <cstdint>
#include <ostream>
#include <string>
#include <unordered_map>

namespace Oxa {

class LineWriter;

/// What the report says about the links of each interface. Role names are put together once, and not for every link.
class Connections
{
public:
    /// Both have to stay as they are as long as this object is used.
    Connections(const InterfaceMap& interfaces, const LinkMap& links);

    /// Writes a line for each link from and to the interface `id`, in the order of the LinkMap.
    void write(std::ostream& out, std::uint16_t id) const;

private:
    void writeLine(LineWriter& lines, const char* label, std::uint16_t connectedId) const;

    const LinkMap& mLinks;
    LinkSources mSources;
    /// By interface id: role name and id.
    std::unordered_map<std::uint16_t, std::string> mNames;
};

} // namespace Oxa

#endif
