#include "plan/AnimFormula.hpp"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <numbers>
#include <utility>

namespace orvandel {

// Recursive descent straight into the stack program:
//   sum     = product { (+|-) product }
//   product = unary { (*|/) unary }
//   unary   = (-|+) unary | power
//   power   = primary [ ^ unary ]        (right to left)
//   primary = number | name | name ( sum [, sum] ) | ( sum )
class AnimFormulaParser {
public:
    using Op = AnimFormula::Op;
    explicit AnimFormulaParser(std::string_view text) : text_(text) {}

    AnimFormula run() {
        if (text_.size() > AnimFormula::kMaxLength) {
            fail("longer than " + std::to_string(AnimFormula::kMaxLength) + " characters");
        }
        sum(0);
        skip();
        if (at_ < text_.size()) fail("unexpected '" + std::string(1, text_[at_]) + "'");
        if (out_.program_.empty()) fail("empty");
        return std::move(out_);
    }

private:
    [[noreturn]] void fail(const std::string& why) const {
        throw AnimFormula::Error("animation formula \"" + std::string(text_.substr(0, 80)) + "\" at " +
                                 std::to_string(at_) + ": " + why);
    }
    void skip() {
        while (at_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[at_]))) ++at_;
    }
    bool take(char c) {
        skip();
        if (at_ < text_.size() && text_[at_] == c) {
            ++at_;
            return true;
        }
        return false;
    }
    void emit(Op op, int pushes, double number = 0) {
        out_.program_.push_back({op, number});
        depth_ += pushes;
        out_.stackNeeded_ = std::max(out_.stackNeeded_, depth_);
    }
    void nest(int level) const {
        if (level > AnimFormula::kMaxDepth) fail("nested deeper than " + std::to_string(AnimFormula::kMaxDepth));
    }

    void sum(int level) {
        nest(level);
        product(level + 1);
        for (;;) {
            if (take('+')) {
                product(level + 1);
                emit(Op::add, -1);
            } else if (take('-')) {
                product(level + 1);
                emit(Op::sub, -1);
            } else {
                return;
            }
        }
    }
    void product(int level) {
        unary(level);
        for (;;) {
            if (take('*')) {
                unary(level + 1);
                emit(Op::mul, -1);
            } else if (take('/')) {
                unary(level + 1);
                emit(Op::div, -1);
            } else {
                return;
            }
        }
    }
    void unary(int level) {
        nest(level);
        if (take('-')) {
            unary(level + 1);
            emit(Op::neg, 0);
        } else if (take('+')) {
            unary(level + 1);
        } else {
            primary(level + 1);
            if (take('^')) {
                unary(level + 1);
                emit(Op::pow, -1);
            }
        }
    }
    void primary(int level) {
        nest(level);
        skip();
        if (at_ >= text_.size()) fail("ends where a value was expected");
        const char c = text_[at_];
        if (take('(')) {
            sum(level + 1);
            if (!take(')')) fail("missing ')'");
            return;
        }
        if (std::isdigit(static_cast<unsigned char>(c)) || c == '.') return number();
        if (c == '$') {
            ++at_;
            return emit(Op::value, 1);
        }
        if (c == '#' || std::isalpha(static_cast<unsigned char>(c)) || c == '_') return name(level);
        fail("unexpected '" + std::string(1, c) + "'");
    }
    void number() {
        const std::size_t start = at_;
        const auto digits = [&] {
            while (at_ < text_.size() && std::isdigit(static_cast<unsigned char>(text_[at_]))) ++at_;
        };
        digits();
        if (at_ < text_.size() && text_[at_] == '.') {
            ++at_;
            digits();
        }
        // An exponent only when digits follow: "2e" alone is not a number.
        if (at_ < text_.size() && (text_[at_] == 'e' || text_[at_] == 'E')) {
            std::size_t k = at_ + 1;
            if (k < text_.size() && (text_[k] == '+' || text_[k] == '-')) ++k;
            if (k < text_.size() && std::isdigit(static_cast<unsigned char>(text_[k]))) {
                at_ = k;
                digits();
            }
        }
        double v = 0;
        const auto [end, ec] = std::from_chars(text_.data() + start, text_.data() + at_, v);
        if (ec != std::errc() || end != text_.data() + at_) fail("bad number");
        emit(Op::number, 1, std::isfinite(v) ? v : 0);
    }
    void name(int level) {
        const bool hash = text_[at_] == '#';
        if (hash) ++at_;
        const std::size_t start = at_;
        while (at_ < text_.size() && (std::isalnum(static_cast<unsigned char>(text_[at_])) || text_[at_] == '_')) ++at_;
        std::string word(text_.substr(start, at_ - start));
        std::transform(word.begin(), word.end(), word.begin(), [](unsigned char ch) { return std::tolower(ch); });
        static const std::pair<const char*, Op> variables[] = {
            {"ppt_x", Op::x}, {"ppt_y", Op::y}, {"ppt_w", Op::w}, {"ppt_h", Op::h}};
        for (const auto& [n, op] : variables) {
            if (word == n) return emit(op, 1);
        }
        if (hash) fail("unknown variable #" + word);
        if (word == "pi") return emit(Op::number, 1, std::numbers::pi);
        if (word == "e") return emit(Op::number, 1, std::numbers::e);
        static const std::pair<const char*, Op> functions[] = {
            {"abs", Op::abs},   {"acos", Op::acos}, {"asin", Op::asin}, {"atan", Op::atan}, {"ceil", Op::ceil},
            {"cos", Op::cos},   {"cosh", Op::cosh}, {"deg", Op::deg},   {"exp", Op::exp},   {"floor", Op::floor},
            {"ln", Op::ln},     {"rad", Op::rad},   {"rand", Op::rand}, {"sin", Op::sin},   {"sinh", Op::sinh},
            {"sqrt", Op::sqrt}, {"tan", Op::tan},   {"tanh", Op::tanh}, {"max", Op::max},   {"min", Op::min}};
        for (const auto& [n, op] : functions) {
            if (word != n) continue;
            if (!take('(')) fail(word + " without '('");
            sum(level + 1);
            const bool two = op == Op::max || op == Op::min;
            if (two) {
                if (!take(',')) fail(word + " needs two arguments");
                sum(level + 1);
            }
            if (!take(')')) fail("missing ')' after " + word);
            return emit(op, two ? -1 : 0);
        }
        fail("unknown name " + word);
    }

    std::string_view text_;
    std::size_t at_ = 0;
    int depth_ = 0;
    AnimFormula out_;
};

AnimFormula AnimFormula::compile(std::string_view text) { return AnimFormulaParser(text).run(); }

bool AnimFormula::constant() const {
    return std::none_of(program_.begin(), program_.end(), [](const Step& s) {
        return s.op == Op::value || s.op == Op::x || s.op == Op::y || s.op == Op::w || s.op == Op::h;
    });
}

double AnimFormula::evaluate(const Variables& v) const {
    constexpr double kBound = 1e6;
    const auto finite = [&](double d) { return std::isnan(d) ? 0.0 : std::clamp(d, -kBound, kBound); };
    double stack[kMaxDepth * 2 + 8];
    std::vector<double> spill;  // a formula of many terms in a row may need more
    double* s = stack;
    if (stackNeeded_ > int(std::size(stack))) {
        spill.resize(std::size_t(stackNeeded_));
        s = spill.data();
    }
    int top = 0;
    for (std::size_t i = 0; i < program_.size(); ++i) {
        const Step& step = program_[i];
        double& a = s[top > 0 ? top - 1 : 0];
        switch (step.op) {
            case Op::number: s[top++] = step.number; continue;
            case Op::value: s[top++] = finite(v.value); continue;
            case Op::x: s[top++] = finite(v.x); continue;
            case Op::y: s[top++] = finite(v.y); continue;
            case Op::w: s[top++] = finite(v.w); continue;
            case Op::h: s[top++] = finite(v.h); continue;
            default: break;
        }
        if (step.op == Op::add || step.op == Op::sub || step.op == Op::mul || step.op == Op::div ||
            step.op == Op::pow || step.op == Op::max || step.op == Op::min) {
            const double b = s[--top];
            double& l = s[top - 1];
            switch (step.op) {
                case Op::add: l = l + b; break;
                case Op::sub: l = l - b; break;
                case Op::mul: l = l * b; break;
                case Op::div: l = b == 0 ? 0 : l / b; break;
                case Op::pow: l = std::pow(l, b); break;
                case Op::max: l = std::max(l, b); break;
                default: l = std::min(l, b); break;
            }
            l = finite(l);
            continue;
        }
        switch (step.op) {
            case Op::neg: a = -a; break;
            case Op::abs: a = std::abs(a); break;
            case Op::acos: a = std::acos(std::clamp(a, -1.0, 1.0)); break;
            case Op::asin: a = std::asin(std::clamp(a, -1.0, 1.0)); break;
            case Op::atan: a = std::atan(a); break;
            case Op::ceil: a = std::ceil(a); break;
            case Op::cos: a = std::cos(a); break;
            case Op::cosh: a = std::cosh(a); break;
            case Op::deg: a = a * 180 / std::numbers::pi; break;
            case Op::exp: a = std::exp(a); break;
            case Op::floor: a = std::floor(a); break;
            case Op::ln: a = a > 0 ? std::log(a) : 0; break;
            case Op::rad: a = a * std::numbers::pi / 180; break;
            case Op::rand: {
                // The same movie every time: a hash of where the call is and its argument.
                const double h = std::sin(double(i) * 12.9898 + a * 78.233) * 43758.5453;
                a = a * (h - std::floor(h));
                break;
            }
            case Op::sin: a = std::sin(a); break;
            case Op::sinh: a = std::sinh(a); break;
            case Op::sqrt: a = a > 0 ? std::sqrt(a) : 0; break;
            case Op::tan: a = std::tan(a); break;
            case Op::tanh: a = std::tanh(a); break;
            default: break;
        }
        a = finite(a);
    }
    return top > 0 ? finite(s[top - 1]) : 0;
}

}  // namespace orvandel
