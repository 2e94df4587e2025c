#include "HelpFormatter.hpp"

#include <sstream>

namespace orvandel::cli {

std::string wrapped(const std::string& text, std::size_t width, std::size_t indent) {
    std::string out, line;
    std::istringstream words(text);
    std::string word;
    while (words >> word) {
        if (!line.empty() && line.size() + 1 + word.size() > width) {
            out += line + "\n" + std::string(indent, ' ');
            line.clear();
        }
        line += (line.empty() ? "" : " ") + word;
    }
    return out + line;
}

std::string valueName(const CLI::Option& option) {
    const std::string type = option.get_type_name();
    if (type.empty() || option.get_expected_max() == 0) return {};  // a flag
    const auto colon = type.find(':');
    const std::string head = type.substr(0, colon);
    const std::string tail = colon == std::string::npos ? std::string() : type.substr(colon + 1);
    // IsMember's "{a,b}": the choices are the value's name.
    if (!tail.empty() && tail.front() == '{') return tail;
    const bool generic = head == "TEXT" || head == "INT" || head == "UINT" || head == "FLOAT";
    // A name of our own ("N:MS", "I/N"), maybe followed by a check's words.
    if (!generic) return tail.find(' ') == std::string::npos ? type : head;
    if (tail == "FILE" || tail == "DIR" || tail == "PATH") return tail;
    return head == "TEXT" ? "VALUE" : "N";
}

std::string HelpFormatter::make_option_opts(const CLI::Option* option) const {
    const std::string value = valueName(*option);
    if (value.empty()) return {};
    return " " + value + (option->get_positional() && option->get_expected_max() > 1 ? "..." : "");
}

std::string HelpFormatter::make_option(const CLI::Option* option, bool isPositional) const {
    std::string left = "  " + make_option_name(option, isPositional) + make_option_opts(option);
    if (isPositional) left = "  " + option->get_name() + (option->get_expected_max() > 1 ? "..." : "");
    const std::string description = wrapped(make_option_desc(option), kWidth - kColumn, kColumn);
    if (left.size() + 2 > kColumn) return left + "\n" + std::string(kColumn, ' ') + description + "\n";
    return left + std::string(kColumn - left.size(), ' ') + description + "\n";
}

std::string HelpFormatter::make_subcommand(const CLI::App* sub) const {
    const std::string left = "  " + sub->get_display_name();
    // The first sentence only: the subcommand's own help says the rest.
    std::string description = sub->get_description();
    if (const auto end = description.find_first_of(".:"); end != std::string::npos) {
        description.resize(end);
        description += ".";
    }
    description = wrapped(description, kWidth - kColumn, kColumn);
    if (left.size() + 2 > kColumn) return left + "\n" + std::string(kColumn, ' ') + description + "\n";
    return left + std::string(kColumn - left.size(), ' ') + description + "\n";
}

std::string HelpFormatter::make_description(const CLI::App* app) const {
    const std::string description = app->get_description();
    return description.empty() ? std::string() : wrapped(description, kWidth, 0) + "\n";
}

}  // namespace orvandel::cli
