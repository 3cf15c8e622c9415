#ifndef INSPECT_SAVED_WHOLE_FILE_H
#define INSPECT_SAVED_WHOLE_FILE_H

#include "inspect/exit_status.h"

#include <functional>
#include <ostream>
#include <string>
#include <sys/types.h>

namespace Inspect {

/// The file could not be written; `what` says why, in one line.
class NotSaved : public Failure
{
public:
    explicit NotSaved(const std::string& why) : Failure(eExitFailed, why) {}
};

constexpr mode_t cOwnerOnly = 0600;   ///< for what holds message data about others
constexpr mode_t cForEveryone = 0644; ///< readable by everyone

/// Lets `write` write into a file beside `path` with these permissions, whatever the umask, and moves it into its place
/// when all of it is on the disk: a reader finds the old file or the whole new one. A symbolic link in that
/// place is replaced, not followed. Throws NotSaved, and leaves nothing behind then.
void writeWholeFile(const std::string& path, mode_t permissions, const std::function<void(std::ostream&)>& write);

} // namespace Inspect

#endif
