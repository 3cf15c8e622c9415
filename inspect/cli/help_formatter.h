#ifndef INSPECT_CLI_HELP_FORMATTER_H
#define INSPECT_CLI_HELP_FORMATTER_H

#include <CLI/CLI.hpp>

#include <string>
#include <utility>

namespace Inspect {

/// Help that begins with examples: most people need no more of it.
class HelpFormatter : public CLI::Formatter
{
public:
    explicit HelpFormatter(std::string examples) : mExamples(std::move(examples))
    {
        column_width(26);
        label("SUBCOMMAND", "COMMAND");
    }

    std::string make_description(const CLI::App* app) const override
    {
        return "Examples:\n" + mExamples + "\n" + CLI::Formatter::make_description(app) + "\n";
    }

    std::string make_option_usage(const CLI::Option* option) const override
    {
        const std::string name = make_option_name(option, true);
        return option->get_required() ? name + (option->get_items_expected_max() > 1 ? " ..." : "") : "[" + name + "]";
    }

    /// What does not go together is told when it is tried.
    std::string make_option_opts(const CLI::Option* option) const override
    {
        const std::string value = option->get_type_name();
        return option->get_items_expected_max() == 0 || value.empty() ? "" : " " + value;
    }

private:
    std::string mExamples;
};

} // namespace Inspect

#endif
