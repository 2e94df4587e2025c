#include "plan/MotionPath.hpp"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>

namespace orvandel::MotionPath {

namespace {

constexpr std::size_t kMaxPoints = 20000;
constexpr int kCurveSteps = 16;

class Reader {
public:
    explicit Reader(std::string_view text) : text_(text) {}

    void skip() {
        while (at_ < text_.size() && (std::isspace(static_cast<unsigned char>(text_[at_])) || text_[at_] == ',')) ++at_;
    }
    bool atEnd() {
        skip();
        return at_ >= text_.size();
    }
    bool atNumber() {
        skip();
        if (at_ >= text_.size()) return false;
        const char c = text_[at_];
        return std::isdigit(static_cast<unsigned char>(c)) || c == '-' || c == '+' || c == '.';
    }
    char command() { return text_[at_++]; }
    std::optional<double> number() {
        skip();
        if (at_ < text_.size() && text_[at_] == '+') ++at_;  // from_chars takes no plus sign
        double v = 0;
        const auto [end, ec] = std::from_chars(text_.data() + at_, text_.data() + text_.size(), v);
        if (ec != std::errc() || !std::isfinite(v)) return std::nullopt;
        at_ = std::size_t(end - text_.data());
        return std::clamp(v, -100.0, 100.0);
    }

private:
    std::string_view text_;
    std::size_t at_ = 0;
};

}  // namespace

std::optional<std::vector<Point>> points(std::string_view path) {
    Reader in(path);
    std::vector<Point> out;
    Point current{0, 0}, subpathStart{0, 0};
    char command = 0;
    while (!in.atEnd()) {
        if (!in.atNumber()) {
            command = in.command();
            const char c = static_cast<char>(std::toupper(static_cast<unsigned char>(command)));
            if (c == 'Z') {
                current = subpathStart;
                out.push_back(current);
                command = 0;
            } else if (c == 'E') {
                break;
            } else if (c != 'M' && c != 'L' && c != 'C' && c != 'Q') {
                return std::nullopt;
            }
            continue;
        }
        if (command == 0) return std::nullopt;
        const bool relative = std::islower(static_cast<unsigned char>(command)) != 0;
        const auto point = [&]() -> std::optional<Point> {
            const auto x = in.number(), y = in.number();
            if (!x || !y) return std::nullopt;
            return relative ? Point{current.first + *x, current.second + *y} : Point{*x, *y};
        };
        switch (std::toupper(static_cast<unsigned char>(command))) {
            case 'M':
            case 'L': {
                const auto p = point();
                if (!p) return std::nullopt;
                current = *p;
                if (std::toupper(static_cast<unsigned char>(command)) == 'M') subpathStart = current;
                out.push_back(current);
                break;
            }
            case 'C':
            case 'Q': {
                const bool cubic = std::toupper(static_cast<unsigned char>(command)) == 'C';
                const auto p1 = point(), p2 = point(), p3 = cubic ? point() : p2;
                if (!p1 || !p2 || !p3) return std::nullopt;
                const Point p0 = current;
                for (int i = 1; i <= kCurveSteps; ++i) {
                    const double t = double(i) / kCurveSteps, m = 1 - t;
                    const auto at = [&](double a, double b, double c, double d) {
                        return cubic ? m * m * m * a + 3 * m * m * t * b + 3 * m * t * t * c + t * t * t * d
                                     : m * m * a + 2 * m * t * b + t * t * c;
                    };
                    out.emplace_back(at(p0.first, p1->first, p2->first, p3->first),
                                     at(p0.second, p1->second, p2->second, p3->second));
                }
                current = *p3;
                break;
            }
            default: return std::nullopt;
        }
        if (out.size() > kMaxPoints) return std::nullopt;
    }
    if (out.empty()) return std::nullopt;
    return out;
}

std::optional<Point> end(std::string_view path) {
    const auto all = points(path);
    if (!all) return std::nullopt;
    return all->back();
}

}  // namespace orvandel::MotionPath
