#ifndef ZUNIC_DEMO_LINE_CHANNEL_H
#define ZUNIC_DEMO_LINE_CHANNEL_H

#include "descriptor.h"

#include <optional>
#include <string>

namespace ZunicDemo {

/// The lines that host and participant exchange over a stream socket.
///
/// The host describes the process and the participant answers cRegistered, or cFailed with the reason behind it. Later
/// the host may say cChurn with a number of rounds a second behind it, or cTraffic with a description. A participant
/// ends when its host closes the connection.
class LineChannel
{
public:
    static constexpr const char* cRegistered = "registered";
    static constexpr const char* cFailed = "failed ";
    static constexpr const char* cChurn = "churn ";
    static constexpr const char* cTraffic = "traffic ";

    explicit LineChannel(Descriptor socket) : mSocket(std::move(socket)) {}

    int descriptor() const { return mSocket.number(); }

    /// Throws std::system_error, with EPIPE when the other side is gone.
    void send(const std::string& line);

    /// The next line; absent when the other side is gone. Throws std::system_error.
    std::optional<std::string> receive();

private:
    Descriptor mSocket;
    std::string mReceived;
};

} // namespace ZunicDemo

#endif
