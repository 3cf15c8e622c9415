#ifndef INSPECT_SAVED_JSON_ROWS_H
#define INSPECT_SAVED_JSON_ROWS_H

#include "inspect/saved/json_text.h"
#include "inspect/saved/record_json.h"

#include <nlohmann/json.hpp>
#include <ostream>

namespace Inspect {

constexpr auto cListSchema = "zunic-bus-list/1"; ///< described in docs/bus_list.schema.json

/// Writes {"schema": ..., "WHAT": [row, ...]}, a row a line, each when it is added: there may be sixty thousand.
class JsonRows
{
public:
    JsonRows(std::ostream& out, const char* schema, const char* what) : mOut(out)
    {
        mOut << "{\"schema\":" << jsonText(schema) << ",\"" << what << "\":[";
    }

    void add(const Json& row)
    {
        mOut << mSeparator << jsonText(row);
        mSeparator = ",\n";
    }

    /// To be called once, after the last row.
    void end() { mOut << "\n]}\n"; }

private:
    std::ostream& mOut;
    const char* mSeparator = "\n";
};

} // namespace Inspect

#endif
