# Makes C++ of the page: cmake -D WEB=FOLDER -D "SCRIPTS=a.js;b.js" -D OUTPUT=FILE -P embed_page.cmake
# page.html says where its style, its script, their hashes (which the page's own policy names) and the data belong.
# The scripts become one module, in the order given: a script comes after those that it imports. They share one scope,
# so a top-level name is used by one script only; a browser rejects a page where two declare it.

# The SHA-256 of a text as a content security policy writes it: in base64.
function(policy_hash text result)
  string(SHA256 hex "${text}")
  string(SUBSTRING ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/ 0 64 digits)
  set(base64 "")
  foreach(place RANGE 0 60 6)
    string(SUBSTRING "${hex}00" ${place} 6 bytes) # 32 bytes, and one more for eleven groups of three
    foreach(shift 18 12 6 0)
      math(EXPR digit "(0x${bytes} >> ${shift}) & 63")
      string(SUBSTRING ${digits} ${digit} 1 character)
      string(APPEND base64 ${character})
    endforeach()
  endforeach()
  string(REGEX REPLACE "A$" "=" base64 ${base64})
  set(${result} "'sha256-${base64}'" PARENT_SCOPE)
endfunction()

# As characters one by one: compilers limit how long a literal may be.
function(as_characters text result)
  string(HEX "${text}" hex)
  string(REGEX REPLACE "(..)" "'\\\\x\\1'," characters "${hex}")
  set(${result} "${characters}" PARENT_SCOPE)
endfunction()

file(READ ${WEB}/page.html page)
file(READ ${WEB}/page.css style)
set(script "")
foreach(name IN LISTS SCRIPTS)
  file(READ ${WEB}/${name} part)
  string(REGEX REPLACE "(^|\n)import [^;]*;" "" part "${part}")
  string(REGEX REPLACE "(^|\n)export " "\\1" part "${part}")
  string(APPEND script "${part}")
endforeach()

policy_hash("${style}" style_hash)
policy_hash("${script}" script_hash)
string(REPLACE "@STYLE_HASH@" "${style_hash}" page "${page}")
string(REPLACE "@SCRIPT_HASH@" "${script_hash}" page "${page}")
string(REPLACE "@STYLE@" "${style}" page "${page}")
string(REPLACE "@SCRIPT@" "${script}" page "${page}")
string(FIND "${page}" "@DATA@" data)
string(SUBSTRING "${page}" 0 ${data} before)
math(EXPR behind "${data} + 6")
string(SUBSTRING "${page}" ${behind} -1 after)
as_characters("${before}" before)
as_characters("${after}" after)

file(WRITE ${OUTPUT}
"#include \"inspect/commands/page/page_text.h\"

namespace Inspect {

namespace {

constexpr char cBefore[] = {${before}};
constexpr char cAfter[] = {${after}};

} // namespace

const std::string_view cPageBeforeData(cBefore, sizeof cBefore);
const std::string_view cPageAfterData(cAfter, sizeof cAfter);

} // namespace Inspect
")
