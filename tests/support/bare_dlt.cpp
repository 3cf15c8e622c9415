// The least that the tool asks of libdlt, and nothing that came with later versions of it.
#include <cstdio>

// NOLINTBEGIN(readability-identifier-naming)
extern "C" {

int dlt_check_library_version(const char* major, const char* minor)
{
    return std::printf("%s.%s ", major, minor);
}

int dlt_register_app(const char* application, const char* description)
{
    return std::printf("%s %s", application, description);
}

int dlt_enable_local_print()
{
    return std::printf(", printing\n");
}
}
// NOLINTEND(readability-identifier-naming)
