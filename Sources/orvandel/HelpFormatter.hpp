#pragma once
// The help as other command-line tools print it: within 80 columns, each
// option with the kind of value it takes in words a person uses (FILE, N,
// SIZE, the choices) instead of the parser's types (TEXT, INT:INT in [1 - 64],
// REQUIRED, Excludes: ...).
#include <CLI/CLI.hpp>

#include <string>

namespace orvandel::cli {

class HelpFormatter : public CLI::Formatter {
public:
    static constexpr std::size_t kWidth = 80;
    static constexpr std::size_t kColumn = 26;

    std::string make_option_opts(const CLI::Option* option) const override;
    std::string make_option(const CLI::Option* option, bool isPositional) const override;
    std::string make_subcommand(const CLI::App* sub) const override;
    std::string make_description(const CLI::App* app) const override;
};

// `text` broken into lines of at most `width` columns of its own (a longer
// word stands alone), every line after the first indented by `indent` spaces.
std::string wrapped(const std::string& text, std::size_t width, std::size_t indent);

// The value an option takes, as the help names it ("" for a flag).
std::string valueName(const CLI::Option& option);

}  // namespace orvandel::cli
