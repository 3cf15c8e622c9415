#ifndef JSON_PARSE_JSON_H
#define JSON_PARSE_JSON_H

#include "json/json_fwd.h"

#include <stdexcept>
#include <string>
#include <string_view>

namespace ZunicJson {

/// A text that is no JSON, or nested too deeply; what() is the reason, in one line.
class Unparsable : public std::runtime_error
{
public:
    Unparsable(std::size_t offset, const std::string& reason) : std::runtime_error(reason), mOffset(offset) {}

    std::size_t mOffset; ///< in bytes, of the place that the reason is about
};

/// Throws Unparsable.
Json parseJson(std::string_view text);

} // namespace ZunicJson

#endif
