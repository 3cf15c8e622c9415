#ifndef INSPECT_FILE_WHOLE_FILE_H
#define INSPECT_FILE_WHOLE_FILE_H

#include <functional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <sys/types.h>

namespace Inspect {

/// The file could not be written; `what` says why, in one line.
class NotSaved : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

constexpr mode_t cOwnerOnly = 0600;   ///< for what holds message data about others
constexpr mode_t cForEveryone = 0644; ///< readable by everyone

/// Lets `write` write into a file beside `path` with these permissions, whatever the umask, and moves it into its place
/// when all of it is on the disk: whoever looks finds the file of before or the whole new one. A symbolic link in that
/// place is replaced, not followed. Throws NotSaved, and leaves nothing behind then.
void writeWholeFile(const std::string& path, mode_t permissions, const std::function<void(std::ostream&)>& write);

} // namespace Inspect

#endif
