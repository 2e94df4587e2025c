#pragma once
// The formulas a deck's animations compute their values with (a p:anim
// key's value such as "1+#ppt_h/2", its fmla such as "#ppt_y-sin(pi*$)/9"):
// numbers, + - * / ^, unary minus, parentheses, the functions abs acos asin
// atan ceil cos cosh deg exp floor ln max min rad rand sin sinh sqrt tan
// tanh, the constants pi and e, and the variables $, ppt_x, ppt_y, ppt_w,
// ppt_h (with or without #). Compiled once into a small stack program,
// evaluated many times. The deck is untrusted: the text's length and
// nesting are bounded, and a value is always finite.
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace orvandel {

class AnimFormula {
public:
    // What the formula is read against: $ and the layer's resting box (its
    // centre, width and height in fractions of the slide).
    struct Variables {
        double value = 0;  // $
        double x = 0, y = 0, w = 0, h = 0;
    };
    class Error : public std::runtime_error {
    public:
        using std::runtime_error::runtime_error;
    };

    static constexpr std::size_t kMaxLength = 1024;
    static constexpr int kMaxDepth = 32;

    // Throws Error, saying where and why, for a formula it cannot read.
    static AnimFormula compile(std::string_view text);

    // Finite: a NaN gives 0, an infinity or a huge value the bound
    // (+-1e6).
    double evaluate(const Variables& v) const;
    // Whether the formula reads no variable (a plain number).
    bool constant() const;

private:
    enum class Op : std::uint8_t {
        number,
        value,
        x,
        y,
        w,
        h,
        add,
        sub,
        mul,
        div,
        pow,
        neg,
        abs,
        acos,
        asin,
        atan,
        ceil,
        cos,
        cosh,
        deg,
        exp,
        floor,
        ln,
        rad,
        rand,
        sin,
        sinh,
        sqrt,
        tan,
        tanh,
        max,
        min,
    };
    struct Step {
        Op op;
        double number = 0;
    };
    std::vector<Step> program_;
    int stackNeeded_ = 0;
    friend class AnimFormulaParser;
};

}  // namespace orvandel
