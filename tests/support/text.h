#ifndef TESTS_SUPPORT_TEXT_H
#define TESTS_SUPPORT_TEXT_H

#include "support/temporary_directory.h"

#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <string>

namespace TestSupport {

/// What `write` writes to the std::ofstream* that it is given.
template <typename Write>
std::string writtenBy(Write write)
{
    const TemporaryDirectory directory;
    std::ofstream out(directory / "text");
    write(&out);
    out.close();
    return readFile(directory / "text");
}

struct Printed
{
    std::string output;
    std::string errors;
};

/// What this process prints while it does `run`.
template <typename Run>
Printed printedBy(Run run)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    run();
    return {testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

/// A file of expected/, with the values in place of their {names}.
inline std::string expectedText(const std::string& file, const std::map<std::string, std::string>& values = {})
{
    std::string text = readFile(EXPECTED_DIR "/" + file);
    for (const auto& [name, value] : values) {
        const std::string placeholder = "{" + name + "}";
        for (std::size_t at = 0; (at = text.find(placeholder, at)) != std::string::npos; at += value.size()) {
            text.replace(at, placeholder.size(), value);
        }
    }
    return text;
}

inline std::size_t countIn(const std::string& text, const std::string& what)
{
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += what.size()) {
        ++count;
    }
    return count;
}

} // namespace TestSupport

#endif
