#ifndef INSPECT_LIVE_PROCESS_BOOK_H
#define INSPECT_LIVE_PROCESS_BOOK_H

#include "inspect/bus/bus_state.h"

#include <cstdint>
#include <map>
#include <vector>

namespace Inspect {

/// What is known of the processes on a bus, for those who look again and again. As long as a process runs, nothing more
/// is asked about it, and that it has ended is told by the kernel in one call for all. What was known of a process
/// stays known when it is dead.
class ProcessBook
{
public:
    /// Lets this program open as many files as it may: it takes one for each process, and leaves some for others.
    ProcessBook();
    ~ProcessBook();

    ProcessBook(const ProcessBook&) = delete;
    ProcessBook& operator=(const ProcessBook&) = delete;

    /// Fills in the processes, and forgets those that are not among them.
    void fillIn(std::vector<Communicator>& communicators);

    /// Whether one of those that ran when they were filled in has ended since.
    bool hasAnyEnded() const;

private:
    struct Entry
    {
        Process mProcess;
        int mDescriptor = -1; ///< readable when it ends; -1: it has ended, or the system gave none
    };

    void noteEnds();
    void lookUp(std::uint32_t processId, Entry& entry) const;

    int mEnds;                               ///< epoll of the descriptors
    int mMostDescriptor{};                   ///< no descriptor is higher
    std::map<std::uint32_t, Entry> mEntries; ///< by process id
};

} // namespace Inspect

#endif
