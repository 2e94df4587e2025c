#define PCRE2_CODE_UNIT_WIDTH 8
#include "base/Regex.hpp"

#include <pcre2.h>

namespace orvandel {

namespace {

pcre2_code* codeOf(void* p) { return static_cast<pcre2_code*>(p); }

std::string pcreMessage(int code) {
    PCRE2_UCHAR buf[256];
    if (pcre2_get_error_message(code, buf, sizeof buf) < 0) return "error " + std::to_string(code);
    return reinterpret_cast<const char*>(buf);
}

struct MatchData {
    pcre2_match_data* data;
    ~MatchData() { pcre2_match_data_free(data); }
};

// The default JIT stack (32 KiB) is too small for lazy scans such as
// [\s\S]*? over a large slide; each thread keeps one larger stack.
struct JitContext {
    pcre2_match_context* context = nullptr;
    pcre2_jit_stack* stack = nullptr;
    JitContext() {
        context = pcre2_match_context_create(nullptr);
        stack = pcre2_jit_stack_create(64 * 1024, 16 * 1024 * 1024, nullptr);
        if (context && stack) pcre2_jit_stack_assign(context, nullptr, stack);
    }
    ~JitContext() {
        if (stack) pcre2_jit_stack_free(stack);
        if (context) pcre2_match_context_free(context);
    }
};

pcre2_match_context* threadMatchContext() {
    thread_local JitContext jit;
    return jit.context;
}

}  // namespace

std::string_view Regex::Match::group(std::string_view subject, std::size_t index) const {
    if (index >= groups.size() || !groups[index]) return {};
    return subject.substr(groups[index]->first, groups[index]->second - groups[index]->first);
}

Regex::Regex(std::string_view pattern, Options options) {
    uint32_t flags = PCRE2_UTF | PCRE2_UCP | PCRE2_MATCH_INVALID_UTF;
    if (options.dotAll) flags |= PCRE2_DOTALL;
    pcre2_compile_context* cctx = pcre2_compile_context_create(nullptr);
    pcre2_set_newline(cctx, PCRE2_NEWLINE_ANY);
    int err = 0;
    PCRE2_SIZE offset = 0;
    pcre2_code* code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.data()), pattern.size(), flags, &err, &offset,
                                     cctx);
    pcre2_compile_context_free(cctx);
    if (!code) {
        compileError_ = pcreMessage(err) + " at offset " + std::to_string(offset);
        return;
    }
    // JIT is an optimisation: when it is unavailable the interpreter runs.
    pcre2_jit_compile(code, PCRE2_JIT_COMPLETE);
    code_ = code;
}

Regex::~Regex() {
    if (code_) pcre2_code_free(codeOf(code_));
}

Regex::Regex(Regex&& other) noexcept : code_(other.code_), compileError_(std::move(other.compileError_)) {
    other.code_ = nullptr;
}

Regex& Regex::operator=(Regex&& other) noexcept {
    if (this != &other) {
        if (code_) pcre2_code_free(codeOf(code_));
        code_ = other.code_;
        compileError_ = std::move(other.compileError_);
        other.code_ = nullptr;
    }
    return *this;
}

std::vector<Regex::Match> Regex::run(std::string_view subject, bool firstOnly) const {
    std::vector<Match> out;
    if (!code_) return out;
    pcre2_code* code = codeOf(code_);
    MatchData md{pcre2_match_data_create_from_pattern(code, nullptr)};
    if (!md.data) throw RegexError("out of memory for a regular-expression match");
    uint32_t groupCount = 0;
    pcre2_pattern_info(code, PCRE2_INFO_CAPTURECOUNT, &groupCount);

    const auto* s = reinterpret_cast<PCRE2_SPTR>(subject.data());
    const PCRE2_SIZE len = subject.size();
    PCRE2_SIZE start = 0;
    uint32_t opts = 0;
    while (start <= len) {
        const int rc = pcre2_match(code, s, len, start, opts, md.data, threadMatchContext());
        if (rc == PCRE2_ERROR_NOMATCH) {
            if (opts == 0) break;
            // An empty match at `start` was refused: step one character on.
            opts = 0;
            ++start;
            while (start < len && (s[start] & 0xC0) == 0x80) ++start;
            continue;
        }
        if (rc < 0) throw RegexError("regular expression match failed: " + pcreMessage(rc));
        PCRE2_SIZE* ov = pcre2_get_ovector_pointer(md.data);
        Match m;
        m.groups.resize(groupCount + 1);
        for (uint32_t g = 0; g <= groupCount; ++g) {
            if (g < static_cast<uint32_t>(rc) && ov[2 * g] != PCRE2_UNSET) {
                m.groups[g] = std::make_pair(static_cast<std::size_t>(ov[2 * g]),
                                             static_cast<std::size_t>(ov[2 * g + 1]));
            }
        }
        out.push_back(std::move(m));
        if (firstOnly) break;
        const PCRE2_SIZE end = ov[1];
        if (end == ov[0]) {
            // Empty match: try a non-empty one at the same place next.
            opts = PCRE2_NOTEMPTY_ATSTART | PCRE2_ANCHORED;
        } else {
            opts = 0;
        }
        start = end;
    }
    return out;
}

std::vector<Regex::Match> Regex::allMatches(std::string_view subject) const { return run(subject, false); }

std::optional<Regex::Match> Regex::firstMatch(std::string_view subject) const {
    auto all = run(subject, true);
    if (all.empty()) return std::nullopt;
    return std::move(all.front());
}

std::vector<std::string> Regex::captures(std::string_view subject, std::size_t group) const {
    std::vector<std::string> out;
    for (const auto& m : allMatches(subject)) out.emplace_back(m.group(subject, group));
    return out;
}

}  // namespace orvandel
