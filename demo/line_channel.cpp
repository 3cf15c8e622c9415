#include "line_channel.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace ZunicDemo {

void LineChannel::send(const std::string& line)
{
    const std::string bytes = line + '\n';
    for (std::size_t sent = 0; sent < bytes.size();) {
        // Without MSG_NOSIGNAL the end of the other side would end this one too.
        const ssize_t written = ::send(descriptor(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (written < 0 && errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "cannot write to the other process");
        }
        sent += written < 0 ? 0 : static_cast<std::size_t>(written);
    }
}

std::optional<std::string> LineChannel::receive()
{
    std::size_t end = mReceived.find('\n');
    while (end == std::string::npos) {
        std::array<char, 4096> buffer{};
        const ssize_t length = recv(descriptor(), buffer.data(), buffer.size(), 0);
        if (length == 0 || (length < 0 && errno == ECONNRESET)) {
            return std::nullopt;
        }
        if (length < 0 && errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "cannot read from the other process");
        }
        const std::size_t before = mReceived.size();
        mReceived.append(buffer.data(), length < 0 ? 0 : static_cast<std::size_t>(length));
        end = mReceived.find('\n', before);
    }
    std::string line = mReceived.substr(0, end);
    mReceived.erase(0, end + 1);
    return line;
}

} // namespace ZunicDemo
