// Parses a JSON file and does nothing with it: what any program that reads it has to pay.
//
// usage: bare_parse FILE...
#include <fstream>
#include <nlohmann/json.hpp>

int main(int argc, char** argv)
{
    std::size_t elements = 0;
    for (int i = 1; i < argc; ++i) {
        std::ifstream file(argv[i], std::ios::binary);
        elements += nlohmann::ordered_json::parse(file).size();
    }
    return elements > 0 ? 0 : 1;
}
