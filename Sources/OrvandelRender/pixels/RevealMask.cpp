#include "pixels/RevealMask.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>
#include <string>

namespace orvandel {

namespace {

// A fixed hash: the order of random bars and dissolve blocks, the same in
// every movie.
std::uint32_t mix(std::uint32_t v) {
    v ^= v >> 16;
    v *= 0x7feb352dU;
    v ^= v >> 15;
    v *= 0x846ca68bU;
    v ^= v >> 16;
    return v;
}

// [0, 1) onto the keys, so that a pixel on a boundary goes with the later side.
std::uint16_t key(double k) { return std::uint16_t(std::min(65535.0, std::clamp(k, 0.0, 1.0) * 65536.0)); }

}  // namespace

std::optional<RevealMask> RevealMask::parse(std::string_view filter) {
    const auto open = filter.find('(');
    const std::string_view name = filter.substr(0, open);
    std::string_view arg;
    if (open != std::string_view::npos) {
        const auto close = filter.find(')', open);
        if (close == std::string_view::npos) return std::nullopt;
        arg = filter.substr(open + 1, close - open - 1);
    }
    RevealMask m;
    const auto inOut = [&](Shape s) -> std::optional<RevealMask> {
        if (arg != "in" && arg != "out") return std::nullopt;
        m.shape_ = s;
        m.out_ = arg == "out";
        return m;
    };
    const auto across = [&](Shape s, std::string_view h, std::string_view v) -> std::optional<RevealMask> {
        if (arg != h && arg != v) return std::nullopt;
        m.shape_ = s;
        m.vertical_ = arg == v;
        return m;
    };
    if (name == "fade") {
        if (arg.empty()) m.kind_ = Kind::fade;
        else if (arg == "throughBlack") m.kind_ = Kind::throughBlack;
        else if (arg == "throughWhite") m.kind_ = Kind::throughWhite;
        else return std::nullopt;
        return m;
    }
    if (name == "wipe" || name == "slide") {
        static const std::pair<std::string_view, Side> wipes[] = {
            {"left", Side::left}, {"right", Side::right}, {"up", Side::top}, {"down", Side::bottom}};
        static const std::pair<std::string_view, Side> slides[] = {
            {"fromLeft", Side::left}, {"fromRight", Side::right}, {"fromTop", Side::top}, {"fromBottom", Side::bottom}};
        for (const auto& [word, side] : name == "wipe" ? wipes : slides) {
            if (arg != word) continue;
            m.kind_ = name == "wipe" ? Kind::pattern : Kind::slide;
            m.side_ = side;
            return m;
        }
        return std::nullopt;
    }
    if (name == "box") return inOut(Shape::box);
    if (name == "circle") return inOut(Shape::circle);
    if (name == "diamond") return inOut(Shape::diamond);
    if (name == "plus") return inOut(Shape::plus);
    if (name == "wedge" && arg.empty()) {
        m.shape_ = Shape::wedge;
        return m;
    }
    if (name == "wheel") {
        int n = 0;
        const auto [end, ec] = std::from_chars(arg.data(), arg.data() + arg.size(), n);
        if (ec != std::errc() || end != arg.data() + arg.size() || n < 1 || n > 64) return std::nullopt;
        m.shape_ = Shape::wheel;
        m.spokes_ = n;
        return m;
    }
    if (name == "barn") {
        if (arg != "inVertical" && arg != "outVertical" && arg != "inHorizontal" && arg != "outHorizontal") {
            return std::nullopt;
        }
        m.shape_ = Shape::barn;
        m.out_ = arg.starts_with("out");
        m.vertical_ = arg.ends_with("Vertical");
        return m;
    }
    if (name == "blinds") return across(Shape::blinds, "horizontal", "vertical");
    if (name == "checkerboard") return across(Shape::checkerboard, "across", "down");
    if (name == "randombar") return across(Shape::randombar, "horizontal", "vertical");
    if (name == "comb") return across(Shape::comb, "horizontal", "vertical");
    if (name == "strips") {
        static const std::pair<std::string_view, Side> corners[] = {
            {"downLeft", Side::left}, {"upLeft", Side::top}, {"downRight", Side::right}, {"upRight", Side::bottom}};
        for (const auto& [word, side] : corners) {
            if (arg != word) continue;
            m.shape_ = Shape::strips;
            m.side_ = side;
            return m;
        }
        return std::nullopt;
    }
    if (name == "dissolve" && arg.empty()) {
        m.shape_ = Shape::dissolve;
        return m;
    }
    return std::nullopt;
}

std::uint32_t RevealMask::limit(std::int64_t progress, bool in) {
    const std::int64_t p = std::clamp<std::int64_t>(in ? progress : 100000 - progress, 0, 100000);
    return std::uint32_t(p * 65536 / 100000);
}

std::vector<std::uint16_t> RevealMask::keys(int w, int h) const {
    w = std::max(w, 1);
    h = std::max(h, 1);
    std::vector<std::uint16_t> out(std::size_t(w) * std::size_t(h));
    // Slats, squares and blocks at PowerPoint's rough counts: six blinds,
    // eight squares across, dissolve blocks of a sixteenth of the shorter side.
    const int cells = 8, slats = 6;
    const double cellW = double(w) / cells;
    const int block = std::max(2, std::min(w, h) / 16);
    const double pi = std::numbers::pi;
    for (int y = 0; y < h; ++y) {
        const double v = (y + 0.5) / h, dv = v - 0.5;
        for (int x = 0; x < w; ++x) {
            const double u = (x + 0.5) / w, du = u - 0.5;
            double k = 0;
            switch (shape_) {
                case Shape::wipe:
                    k = side_ == Side::left ? u : side_ == Side::right ? 1 - u : side_ == Side::top ? v : 1 - v;
                    break;
                case Shape::box: {
                    const double r = 2 * std::max(std::abs(du), std::abs(dv));
                    k = out_ ? r : 1 - r;
                    break;
                }
                case Shape::circle: {
                    const double r = std::sqrt(2 * (du * du + dv * dv));  // 1 at the corners
                    k = out_ ? r : 1 - r;
                    break;
                }
                case Shape::diamond: {
                    const double r = std::abs(du) + std::abs(dv);
                    k = out_ ? r : 1 - r;
                    break;
                }
                case Shape::plus: {
                    const double r = 2 * std::min(std::abs(du), std::abs(dv));
                    k = out_ ? r : 1 - r;
                    break;
                }
                case Shape::wedge: k = std::abs(std::atan2(du * w, -dv * h)) / pi; break;
                case Shape::wheel: {
                    double a = std::atan2(du * w, -dv * h);  // clockwise from twelve o'clock
                    if (a < 0) a += 2 * pi;
                    const double sector = 2 * pi / spokes_;
                    k = std::fmod(a, sector) / sector;
                    break;
                }
                case Shape::barn: {
                    const double r = 2 * std::abs(vertical_ ? du : dv);
                    k = out_ ? r : 1 - r;
                    break;
                }
                case Shape::blinds: {
                    const double s = (vertical_ ? u : v) * slats;
                    k = s - std::floor(s);
                    break;
                }
                case Shape::checkerboard: {
                    // Along the rows (across) or columns (down), alternate lines offset by one square.
                    const double along = (vertical_ ? y + 0.5 : x + 0.5) / cellW;
                    const int line = int((vertical_ ? x + 0.5 : y + 0.5) / cellW);
                    k = std::fmod(along + (line % 2), 2.0) / 2;
                    break;
                }
                case Shape::strips:
                    k = side_ == Side::left    ? (1 - u + v) / 2
                        : side_ == Side::top   ? (2 - u - v) / 2
                        : side_ == Side::right ? (u + v) / 2
                                               : (u + 1 - v) / 2;
                    break;
                case Shape::randombar: k = (mix(std::uint32_t(vertical_ ? x : y) + 0x9e37U) & 0xffff) / 65536.0; break;
                case Shape::dissolve:
                    k = (mix(std::uint32_t(x / block) * 0x10001U ^ std::uint32_t(y / block) * 0x3c6ef35fU) & 0xffff) /
                        65536.0;
                    break;
                case Shape::comb: {
                    const int tooth = int((vertical_ ? u : v) * 10);
                    const double along = vertical_ ? v : u;
                    k = tooth % 2 ? 1 - along : along;
                    break;
                }
            }
            out[std::size_t(y) * std::size_t(w) + std::size_t(x)] = key(k);
        }
    }
    return out;
}

}  // namespace orvandel
