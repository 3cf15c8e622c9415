#ifndef ZUNIC_DEMO_DESCRIPTOR_H
#define ZUNIC_DEMO_DESCRIPTOR_H

#include <unistd.h>

#include <utility>

namespace ZunicDemo {

/// Owns a file descriptor.
class Descriptor
{
public:
    explicit Descriptor(int number = -1) : mNumber(number) {}
    Descriptor(Descriptor&& other) noexcept : mNumber(std::exchange(other.mNumber, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(mNumber, other.mNumber);
        return *this;
    }
    ~Descriptor()
    {
        if (mNumber >= 0) {
            close(mNumber);
        }
    }

    int number() const { return mNumber; }

private:
    int mNumber;
};

} // namespace ZunicDemo

#endif
