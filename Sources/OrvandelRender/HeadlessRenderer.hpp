#pragma once
// The headless renderer: turns a prepared deck into the master movie with
// LibreOffice (storyboard deck -> PDF pages), poppler (pages -> stills) and
// ffmpeg (stills -> H.264). Every visible slide is on screen for exactly its
// advance time, so that the movie's length equals the plan to the
// millisecond, and within it every state of its animations (PlayoutTimeline)
// from the millisecond the slideshow reaches it: each click step appears,
// and each exit leaves, at its planned time, drawn over its effect's duration
// (or cut, with drawEffects false); the source deck's slide transitions, handed
// over with the request, are drawn likewise. Videos, audio clips and GIFs
// play (MediaLayers) in the same encode.
//
// Failures throw RenderError (never Mp4Exporter::ExportError, whose texts
// speak of PowerPoint), cancellation throws CancelledError. Every child
// process has a time limit and runs in its own process group.
#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "cache/RenderCache.hpp"
#include "render/Mp4Exporting.hpp"
#include "render/VideoSettings.hpp"

namespace orvandel {

class HeadlessRenderer : public Mp4Exporting {
public:
    struct Options {
        // A frame at least this often (ms), so that seeking lands on the right
        // still in every player; 0 = one frame per slide.
        std::int64_t periodicFrameMs = 1000;
        int workers = 0;  // rasterising processes; 0 = one per core
        bool silentAudio = true;
        std::int64_t minPlausibleMs = 1000;
        // LibreOffice's time limit; default: grows with the storyboard's pages.
        std::optional<std::chrono::milliseconds> libreOfficeTimeout;
        // When set, the stills that go into the movie are copied here
        // (still-<storyboard page>.tif, see Storyboard::layout), for checks
        // that compare the movie with what went into it.
        std::optional<std::filesystem::path> keepStillsIn;
        // False: every slide in its final state for its whole advance time
        // (one still per slide), for comparison.
        bool showSteps = true;
        // False: media show their poster (or first) frame and the sound
        // track stays silent, for comparison.
        bool playMedia = true;
        // The user's deck's folder: relative links out of the deck point from
        // it, and a linked file is read only when it lies inside it (unless
        // allowLinksOutside); default: the prepared deck's folder.
        std::optional<std::filesystem::path> deckFolder;
        // Linked local files outside deckFolder are read too (never URLs).
        bool allowLinksOutside = false;
        // The deck as the user knows it (its file name), for error messages;
        // default: the prepared deck's file name.
        std::string deckName;
        // The most memory LibreOffice may take (bytes); nothing: no limit.
        std::optional<std::int64_t> libreOfficeMemoryLimit;
        // False: every change is a cut (the movie of stills), for comparison
        // and for the fastest export.
        bool drawEffects = true;
        // Where the stills and encoded slides of earlier exports are kept and
        // reused (RenderCache); nothing: every export starts from nothing.
        std::optional<RenderCache::Options> cache;
        // The movie's size (the deck's aspect kept within it), the frame
        // rate of drawn effects and moving media, and the encoder's quality.
        VideoSettings video;
    };

    HeadlessRenderer() = default;
    explicit HeadlessRenderer(Options options) : options_(options) {}

    using Mp4Exporting::export_;
    // isRenderAlive is not needed: every stage has its own time limit. The
    // request's source transitions are drawn when drawEffects is on. Reports,
    // in order, ExportStage::readPlan, pdf, draw and encode.
    void export_(const RenderRequest& request, const std::filesystem::path& to,
                 const std::function<bool()>& isRenderAlive, const RenderHooks& hooks = {}) const override;

private:
    Options options_;
};

}  // namespace orvandel
