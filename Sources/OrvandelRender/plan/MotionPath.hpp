#pragma once
// A motion path as p:animMotion stores it ("M 0 0 L 0.25 0.1 C ... Z E"):
// moves, lines, cubic and quadratic curves, closes and the end mark, in
// slide widths and heights from where the shape is; lower-case commands are
// relative to the current point, and a command's numbers may repeat it.
// Numbers are read without the locale. Pure.
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace orvandel::MotionPath {

using Point = std::pair<double, double>;

// The path's points, curves flattened into short lines; nothing when it
// holds no point or something unreadable. At most 20000 points; every
// coordinate within ±100 slides.
std::optional<std::vector<Point>> points(std::string_view path);

// Where the path ends: its last point (a closed subpath ends where it began).
std::optional<Point> end(std::string_view path);

}  // namespace orvandel::MotionPath
