#ifndef INSPECT_SAVED_JSON_ROWS_H
#define INSPECT_SAVED_JSON_ROWS_H

#include "inspect/saved/json_text.h"
#include "inspect/saved/record_json.h"

#include <nlohmann/json.hpp>
#include <ostream>
#include <utility>

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

    void add(const Json& row) { begin() << jsonText(row); }

    /// For a row that is too large to be made as a whole: it is to be written to the stream.
    std::ostream& begin() { return mOut << std::exchange(mSeparator, ",\n"); }

    /// To be called once, after the last row.
    void end() { mOut << "\n]}\n"; }

private:
    std::ostream& mOut;
    const char* mSeparator = "\n";
};

} // namespace Inspect

#endif
