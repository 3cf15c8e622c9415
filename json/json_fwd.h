#ifndef JSON_JSON_FWD_H
#define JSON_JSON_FWD_H

#include <nlohmann/json_fwd.hpp>

namespace ZunicJson {

/// Objects keep the order of their members.
using Json = nlohmann::ordered_json;

class JsonPlace;

} // namespace ZunicJson

#endif
