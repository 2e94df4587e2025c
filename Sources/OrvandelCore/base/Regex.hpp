#pragma once
// Regular expressions over UTF-8 text with PCRE2 (UTF + UCP, JIT when
// available). The newline convention is ANY, so "." stops at every line
// terminator (LF, CR, VT, FF, NEL, LS, PS) as the patterns were written to
// expect. A pattern that does not compile is "invalid" and matches nothing;
// a match that hits the engine's limits throws RegexError instead of being
// read as "no match".
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Error.hpp"

namespace orvandel {

class RegexError : public Error {
public:
    explicit RegexError(const std::string& message) : Error(message) {}
};

class Regex {
public:
    struct Options {
        bool dotAll = false;  // "." also matches line terminators
    };

    // One match: for each group (0 = whole match) its byte range, or nothing
    // when the group did not take part.
    struct Match {
        std::vector<std::optional<std::pair<std::size_t, std::size_t>>> groups;
        std::string_view group(std::string_view subject, std::size_t index) const;
    };

    explicit Regex(std::string_view pattern, Options options);
    explicit Regex(std::string_view pattern) : Regex(pattern, Options{}) {}
    ~Regex();
    Regex(Regex&&) noexcept;
    Regex& operator=(Regex&&) noexcept;

    bool isValid() const { return code_ != nullptr; }
    const std::string& compileError() const { return compileError_; }

    // Every non-overlapping match, left to right, over the whole subject.
    std::vector<Match> allMatches(std::string_view subject) const;
    std::optional<Match> firstMatch(std::string_view subject) const;

    // Group `group` of every match; a group that did not take part gives "".
    std::vector<std::string> captures(std::string_view subject, std::size_t group) const;

private:
    std::vector<Match> run(std::string_view subject, bool firstOnly) const;
    void* code_ = nullptr;  // pcre2_code*
    std::string compileError_;
};

}  // namespace orvandel
