#pragma once
// Judges a measured movie length against the expected one as a ratio inside a band.
#include <cstdint>

namespace orvandel {

namespace MasterDurationGuard {

// Ratios of measured to expected duration; low <= high.
struct Band {
    double low = 0.0;
    double high = 0.0;
    bool operator==(const Band&) const = default;
};

inline constexpr Band defaultBand{0.6, 1.4};

class Verdict {
public:
    enum class Kind { ok, mismatch };

    static Verdict ok() { return Verdict(Kind::ok, 0.0); }
    static Verdict mismatch(double ratio) { return Verdict(Kind::mismatch, ratio); }

    Kind kind() const { return kind_; }
    bool isOk() const { return kind_ == Kind::ok; }
    // The measured / expected ratio of a mismatch (0 for ok).
    double ratio() const { return ratio_; }

    // The ratio only counts for a mismatch.
    bool operator==(const Verdict& other) const {
        return kind_ == other.kind_ && (kind_ == Kind::ok || ratio_ == other.ratio_);
    }

private:
    Verdict(Kind kind, double ratio) : kind_(kind), ratio_(ratio) {}
    Kind kind_;
    double ratio_;
};

// ok when expectedBaseMs < 1 (nothing to compare with) or low <= ratio <= high.
// A band with low > high is a programming error and aborts.
Verdict check(std::int64_t expectedBaseMs, std::int64_t measuredMs, Band band = defaultBand);

}  // namespace MasterDurationGuard

}  // namespace orvandel
