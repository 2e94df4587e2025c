#pragma once
// Movie files built byte by byte, and a renderer that writes them.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <string>

#include "base/Bytes.hpp"
#include "render/Mp4Exporting.hpp"

namespace orvandel::test {

inline void putBe(Bytes& b, std::uint64_t v, int bytes) {
    for (int i = bytes - 1; i >= 0; --i) b.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}

inline Bytes box(const std::string& type, const Bytes& payload) {
    Bytes b(payload.size() + 8);
    for (int i = 0; i < 4; ++i) {
        b[i] = static_cast<std::uint8_t>(b.size() >> (24 - 8 * i));
        b[4 + i] = static_cast<std::uint8_t>(type.at(i));
    }
    std::copy(payload.begin(), payload.end(), b.begin() + 8);
    return b;
}

// A movie header; creation and modification times and the fields after the duration are zeros.
inline Bytes mvhd(std::uint32_t timescale, std::uint64_t duration, int version = 0) {
    Bytes p{static_cast<std::uint8_t>(version), 0, 0, 0};
    p.resize(p.size() + (version == 0 ? 8 : 16), 0);  // creation and modification times
    putBe(p, timescale, 4);
    putBe(p, duration, version == 0 ? 4 : 8);
    p.resize(p.size() + 80, 0);
    return box("mvhd", p);
}

inline Bytes joined(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

inline Bytes be32(std::uint32_t v) {
    Bytes b;
    putBe(b, v, 4);
    return b;
}

// A track: its header's duration in the movie's time scale, its media's
// time scale and duration, its handler ("vide", "soun") and its number of
// samples (all of one size). Every other field is zero.
inline Bytes trak(const std::string& handler, std::uint32_t duration, std::uint32_t mediaTimescale,
                  std::uint32_t mediaDuration, std::uint32_t samples) {
    // tkhd: version 0, flags, creation and modification times, track id, reserved, then the duration.
    const Bytes tkhd = joined({Bytes(20, 0), be32(duration), Bytes(60, 0)});
    const Bytes mdhd = joined({Bytes(12, 0), be32(mediaTimescale), be32(mediaDuration), Bytes(4, 0)});
    const Bytes hdlr = joined({Bytes(8, 0), toBytes(handler), Bytes(13, 0)});
    const Bytes stsz = joined({Bytes(4, 0), be32(1), be32(samples)});  // every sample one byte long: no table follows
    return box("trak", joined({box("tkhd", tkhd), box("mdia", joined({box("mdhd", mdhd), box("hdlr", hdlr),
                                                                      box("minf", box("stbl", box("stsz", stsz)))}))}));
}

// ftyp, then moov holding mvhd and the tracks.
inline Bytes movieOfTracks(std::uint32_t timescale, std::uint64_t duration, std::initializer_list<Bytes> tracks) {
    return joined({box("ftyp", toBytes("isom")), box("moov", joined({mvhd(timescale, duration), joined(tracks)}))});
}

// A movie of `ms` milliseconds with one video track of a frame a second.
inline Bytes stillsMovie(std::uint32_t ms) {
    return movieOfTracks(1000, ms, {trak("vide", ms, 1000, ms, ms / 1000 + 1)});
}

// ftyp, then moov holding only mvhd: enough to have a duration.
inline Bytes craftedMovie(std::uint32_t timescale, std::uint64_t duration, int version = 0) {
    return joined({box("ftyp", toBytes("isom")), box("moov", mvhd(timescale, duration, version))});
}

// A renderer that runs `behaviour` on the movie's path instead of rendering,
// and counts its calls.
struct FakeRenderer : Mp4Exporting {
    explicit FakeRenderer(std::function<void(const std::filesystem::path&)> b) : behaviour(std::move(b)) {}
    using Mp4Exporting::export_;
    void export_(const RenderRequest& request, const std::filesystem::path& to, const std::function<bool()>&,
                 const RenderHooks&) const override {
        ++calls;
        EXPECT_TRUE(std::filesystem::exists(request.preparedDeck));
        behaviour(to);
    }
    std::function<void(const std::filesystem::path&)> behaviour;
    mutable int calls = 0;
};

// One that writes a movie of `ms` milliseconds.
inline FakeRenderer movieOf(std::int64_t ms) {
    return FakeRenderer(
        [ms](const std::filesystem::path& to) { writeFile(to, craftedMovie(1000, std::uint64_t(ms))); });
}

}  // namespace orvandel::test
