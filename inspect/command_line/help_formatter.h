#ifndef INSPECT_COMMAND_LINE_HELP_FORMATTER_H
#define INSPECT_COMMAND_LINE_HELP_FORMATTER_H

#include <CLI/CLI.hpp>

#include <string>
#include <utility>

namespace Inspect {

/// Help that begins with examples: most people need no more of it.
class HelpFormatter : public CLI::Formatter
{
public:
    explicit HelpFormatter(std::string examples) : mExamples(std::move(examples)) { column_width(26); }

    std::string make_description(const CLI::App* app) const override
    {
        return "Examples:\n" + mExamples + "\n" + CLI::Formatter::make_description(app);
    }

private:
    std::string mExamples;
};

} // namespace Inspect

#endif
