#ifndef INSPECT_LIVE_ATTACHMENT_H
#define INSPECT_LIVE_ATTACHMENT_H

#include "channel/channel_layout.h"
#include "inspect/exit_status.h"

#include <memory>
#include <string>

namespace Inspect {

/// There is no usable channel of that name, or its registry mutex could not be locked; `what` says so in one line.
class NoChannel : public Failure
{
public:
    explicit NoChannel(const std::string& why, bool isMissing = false)
        : Failure(eExitNoChannel, why), mIsMissing(isMissing)
    {}

    /// That there is none, and so no interface.
    bool isMissing() const { return mIsMissing; }

private:
    bool mIsMissing;
};

struct Detach
{
    void operator()(oxa_zunic_communication_channel* channel) const
    {
        oxa_zunic_communication_channel_destroy(channel);
    }
};
using Attachment = std::unique_ptr<oxa_zunic_communication_channel, Detach>;

/// Attaches to an initialised channel. Throws NoChannel.
Attachment attach(const std::string& name);

} // namespace Inspect

#endif
