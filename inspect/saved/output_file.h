#ifndef INSPECT_SAVED_OUTPUT_FILE_H
#define INSPECT_SAVED_OUTPUT_FILE_H

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

constexpr mode_t cOwnerOnly = 0600;   ///< for what contains message data of others
constexpr mode_t cForEveryone = 0644; ///< readable by everyone

/// Writes what `write` writes to `path`:
/// - A regular file is replaced atomically, and keeps its mode and, if possible, its owner. A new file has these
///   permissions, whatever the umask. SIGINT, SIGTERM, SIGHUP and SIGXFSZ are delayed until it is complete or removed.
/// - A device, a fifo, and an open descriptor (/dev/stdout, /dev/fd/N, /proc/N/fd/N) are written into.
/// - A symbolic link, anywhere in `path`, is followed only in a directory that only this user and root can write to.
/// Throws NotSaved for anything else and on errors; a file is then as before, and no other one is left behind.
void writeOutputFile(const std::string& path, mode_t permissions, const std::function<void(std::ostream&)>& write);

/// As writeOutputFile; to `standardOutput` if the name is "-".
void writeOutput(const std::string& path, mode_t permissions, std::ostream& standardOutput,
                 const std::function<void(std::ostream&)>& write);

} // namespace Inspect

#endif
