#include "inspect/bus/message_rate.h"

namespace Inspect {

namespace {

constexpr double cRange = 65'536;
constexpr double cMostPerSecond = 50'000;

} // namespace

Rate messageRate(std::uint16_t before, std::uint16_t now, std::chrono::duration<double> elapsed)
{
    if (elapsed.count() <= 0) {
        return {};
    }
    const auto counted = static_cast<std::uint16_t>(now - before);
    return {counted / elapsed.count(), elapsed.count() * cMostPerSecond >= cRange || counted > cRange / 2};
}

} // namespace Inspect
