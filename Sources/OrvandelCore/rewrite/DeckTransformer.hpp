#pragma once
// Turns a deck into the prepared copy that is rendered as a movie: every slide
// is read, analysed and rewritten so that it plays by itself (timed bullets,
// autoplaying video, chained exits, an automatic advance), checked, and put
// into a copy of the package. Hidden slides are numbered and rewritten like
// the others.
//
// The copy is written only when every slide succeeded, under a hidden
// temporary name beside output and then renamed into place: on any error
// nothing is left behind and an earlier file at output is untouched.
#include <cstdint>
#include <filesystem>
#include <string_view>
#include <vector>

#include "deck/DeckModel.hpp"
#include "deck/SlideReport.hpp"

namespace orvandel::DeckTransformer {

// Which writer chain a slide went through.
enum class Branch {
    bullets,           // timed click groups
    bulletsWithExits,  // timed click groups, then retimed exits
    clickVideo,        // a click-started video made to autoplay
    autoplayVideo,     // a video that already starts by itself
    exits,             // click-started exits chained after each other
    static_,           // nothing to time: only the advance
};

// "bullets", "bullets+exits", "click video", "autoplay video", "exits", "static".
std::string_view toString(Branch branch);

// One report per slide in slide order, advTmMs always set. videoMs and gifMs
// are keyed by slide number (1-based, hidden slides counted). Throws
// DeckError (missingVideoDuration, then videoWithoutMediaCall, then
// invalidOutput, each naming every slide concerned in order; a video that
// only a click (on it or another shape) starts is no reason to refuse: it
// stays still), OutputError (before any work) when the
// output is the input deck or not a regular file, and passes on the errors of
// the package reader, the scanners, the writers and the archive writer.
std::vector<SlideReport> prepare(const std::filesystem::path& deck, const std::filesystem::path& output,
                                 const SlideDurations& videoMs, const SlideDurations& gifMs, std::int64_t respiroMs,
                                 std::int64_t espacamentoMs);

// The same from a deck already read (copied from its open file, not opened
// again), also telling which branch each slide took (replaced, in slide order).
std::vector<SlideReport> prepare(DeckModel& deck, const std::filesystem::path& output, const SlideDurations& videoMs,
                                 const SlideDurations& gifMs, std::int64_t respiroMs, std::int64_t espacamentoMs,
                                 std::vector<Branch>& branches);

}  // namespace orvandel::DeckTransformer
