#ifndef OXA_COMMAND_LINE_PRINTABLE_H
#define OXA_COMMAND_LINE_PRINTABLE_H

#include <string>

/// `text` with the bytes of all control characters spelled out as `\x1b`, so that a terminal shows it on one line and
/// obeys none of it. All other UTF-8 passes unchanged.
std::string printable(const std::string& text);

#endif
