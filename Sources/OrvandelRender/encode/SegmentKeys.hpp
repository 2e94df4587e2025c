#pragma once
// The keys of a movie's parts in the render cache: a hash of everything
// that decides a slide's segment, or the soundtrack, and of nothing else.
//
// A segment depends on the pictures its frames are made of (the keys of
// their storyboard pages, PageKeys: the slide, its layout, master, theme and
// media; for a transition the previous slide's last page too), on when each
// frame falls within the segment, on the changes drawn between them (where,
// from and to which page), on the slide's own markup that the drawings are
// read from (its prepared timing, its transition as written), on the media
// pictures played over it (each file by content), and on the environment
// (RenderFingerprint, frame size, encoder settings). Movie times enter
// counted from the segment's start, so that a slide moved in time by a
// change before it keeps its key.
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "encode/MovieEncoder.hpp"
#include "encode/SlideSegments.hpp"
#include "media/MediaLayers.hpp"
#include "storyboard/Storyboard.hpp"

namespace orvandel::SegmentKeys {

// Content hash of each medium's file (by the path in its layer).
using MediaHashes = std::map<std::filesystem::path, std::string>;

// The environment of every segment of an export: the renderer's
// fingerprint, the frame's size, the encoder's settings (quality, level),
// its threads (x264's output depends on their count) and the frame
// schedule (periodic frames; the rate where things move, named only when it
// is not 30, the one rate there once was, so earlier keys stay valid).
std::string environment(std::string_view fingerprint, const MovieEncoder::Encoding& encoding,
                        std::int64_t periodicFrameMs, unsigned threads);

// pageKeys: page p's key at p - 1. slideMarkup: the slide's prepared XML,
// its source transition and part name, as the caller gathers them.
std::string ofSegment(const SlideSegment& segment, const std::vector<Storyboard::Shot>& shots,
                      const std::vector<std::string>& pageKeys, std::string_view slideMarkup, const MediaHashes& media,
                      std::string_view environment);

// The soundtrack of a movie of totalMs with these sounds.
std::string ofSound(const std::vector<MediaLayer>& sounds, std::int64_t totalMs, const MediaHashes& media,
                    std::string_view environment);

}  // namespace orvandel::SegmentKeys
