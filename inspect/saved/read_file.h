#ifndef INSPECT_SAVED_READ_FILE_H
#define INSPECT_SAVED_READ_FILE_H

#include <functional>
#include <istream>
#include <string>

namespace Inspect {

/// Lets `read` read a file, or standard input if its name is "-". What `read` complains of is thrown with the name in
/// front; a file that cannot be opened throws NoState, too.
void readFile(const std::string& file, const std::function<void(std::istream&)>& read);

} // namespace Inspect

#endif
