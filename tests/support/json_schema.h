#ifndef TESTS_SUPPORT_JSON_SCHEMA_H
#define TESTS_SUPPORT_JSON_SCHEMA_H

#include "support/program.h"

#include <string>

namespace TestSupport {

/// What a validator that others wrote says against the file, by a schema in docs/; nothing when it accepts it. With a
/// `part` of the schema's definitions, each line of the file is a document of that kind.
inline std::string invalidity(const std::string& schema, const std::string& file, const std::string& part = "")
{
    constexpr auto cValidator = R"(import json, sys, jsonschema
folder, name, file, part = sys.argv[1:]
schema = json.load(open(folder + "/" + name))
here = jsonschema.RefResolver("file://" + folder + "/", schema)
text = open(file).read()
if part:
    schema = {"$ref": name + "#/$defs/" + part}
for document in text.splitlines() if part else [text]:
    jsonschema.Draft202012Validator(schema, resolver=here).validate(json.loads(document)))";
    return runProgram({"/usr/bin/python3", "-W", "ignore", "-c", cValidator, DOCS_DIR, schema, file, part}).errors;
}

} // namespace TestSupport

#endif
