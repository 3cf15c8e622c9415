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
        const std::string name = make_option_name(option, true) + (option->get_items_expected_max() > 1 ? " ..." : "");
        return option->get_required() ? name : "[" + name + "]";
    }

    /// Without the options that it excludes: a command line with both is an error that names them.
    std::string make_option_opts(const CLI::Option* option) const override
    {
        const std::string value = option->get_type_name();
        return option->get_items_expected_max() == 0 || value.empty() ? "" : " " + value;
    }

    std::string make_option_desc(const CLI::Option* option) const override
    {
        return wrapped(CLI::Formatter::make_option_desc(option), cWidth - get_column_width());
    }

private:
    static constexpr std::size_t cWidth = 80; ///< characters in a line

    /// The text with line feeds in place of blanks, so that no line is longer, except a single word.
    static std::string wrapped(std::string text, std::size_t width)
    {
        std::size_t begin = 0;
        while (text.size() - begin > width) {
            const std::size_t blank = text.rfind(' ', begin + width);
            if (blank == std::string::npos || blank < begin) {
                break;
            }
            text[blank] = '\n';
            begin = blank + 1;
        }
        return text;
    }

    std::string mExamples;
};

} // namespace Inspect

#endif
