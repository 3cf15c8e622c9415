// Hosts a full channel for measurements from outside: prints its name, and ends when standard input does.
//
// usage: full_bus LINKS MESSAGE_SLOTS
#include "full_channel.h"

#include <cstdint>
#include <iostream>
#include <string>

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::cerr << "usage: full_bus LINKS MESSAGE_SLOTS\n";
        return 2;
    }
    const auto channel = Bench::hostFullChannel(static_cast<std::uint16_t>(std::stoul(argv[1])),
                                                static_cast<std::uint32_t>(std::stoul(argv[2])));
    std::cout << channel.name() << std::endl;
    while (std::cin.get() != std::char_traits<char>::eof()) {
    }
}
