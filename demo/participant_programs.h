#ifndef ZUNIC_DEMO_PARTICIPANT_PROGRAMS_H
#define ZUNIC_DEMO_PARTICIPANT_PROGRAMS_H

#include "temporary_folder.h"

#include <filesystem>
#include <string>

namespace ZunicDemo {

/// The participant program under any executable name, so that each process of the bus shows the name it should.
class ParticipantPrograms
{
public:
    /// Throws std::system_error, among other things when the participant program is not installed.
    ParticipantPrograms();

    /// The participant program as an executable of this name; the same file for the same name.
    std::filesystem::path named(const std::string& name);

private:
    TemporaryFolder mFolder;
    std::filesystem::path mOriginal;
};

/// Lets the programs that this process starts find the shared libraries where this process found its own.
/// The participants run from elsewhere, so that a search path relative to the program does not lead there.
void passOnLibraryFolder();

} // namespace ZunicDemo

#endif
