#include "media/MediaLayers.hpp"

#include <algorithm>

#include "base/Bytes.hpp"
#include "container/PptxArchive.hpp"
#include "media/EffectSounds.hpp"
#include "tools/RenderError.hpp"

namespace orvandel::MediaLayers {

namespace {

const char* mediumName(SlideMedium::Kind kind) {
    switch (kind) {
        case SlideMedium::Kind::video: return "video";
        case SlideMedium::Kind::audio: return "audio clip";
        case SlideMedium::Kind::gif: return "GIF";
    }
    return "medium";
}

// The spans of the slide in which the shape is not hidden by a build step.
std::vector<MsRange> visibleSpans(const RenderSlide& slide, const std::string& shapeId) {
    std::vector<MsRange> out;
    const auto& states = slide.playout.states;
    const PlayoutTarget whole{shapeId, std::nullopt};
    for (std::size_t k = 0; k < states.size() && states[k].startMs < slide.advanceTimeMs; ++k) {
        if (std::binary_search(states[k].hidden.begin(), states[k].hidden.end(), whole)) continue;
        const std::int64_t end = k + 1 < states.size() ? std::min(states[k + 1].startMs, slide.advanceTimeMs)
                                                       : slide.advanceTimeMs;
        if (!out.empty() && out.back().endMs == states[k].startMs) {
            out.back().endMs = end;
        } else {
            out.push_back({states[k].startMs, end});
        }
    }
    if (states.empty()) out.push_back({0, slide.advanceTimeMs});
    return out;
}

// What the warnings call an effect's or a transition's sound.
const char* const kSoundName = "sound";

// A linked movie larger than this is not a slide's: it is not copied.
constexpr std::int64_t kLargestLinkedMedium = std::int64_t{16} << 30;

}  // namespace

std::optional<MediaLayer> place(const SlideMedium& medium, const MediaInfo& info, const SlideTime& time,
                                FrameSize frame, std::int64_t slideWidthEmu, std::int64_t slideHeightEmu) {
    const bool gif = medium.kind == SlideMedium::Kind::gif;
    const std::optional<std::int64_t> playStart = gif ? std::optional<std::int64_t>(0) : time.playStartMs;
    if (!playStart || *playStart < 0 || *playStart >= time.advanceMs) return std::nullopt;
    MediaLayer l;
    l.gif = gif;
    l.picture = info.hasPicture && medium.kind != SlideMedium::Kind::audio;
    l.sound = !gif && info.hasSound && medium.volume > 0;
    if (!l.picture && !l.sound) return std::nullopt;
    const std::int64_t rest = time.advanceMs - *playStart;
    l.startMs = time.startMs + *playStart;
    l.loops = !gif && medium.loops;
    l.trimStartMs = gif ? 0 : medium.trimStartMs;
    l.playMs = rest;
    if (!gif && !l.loops && info.durationMs) {
        l.playMs = std::min(rest, *info.durationMs - medium.trimStartMs - medium.trimEndMs);
    }
    if (l.playMs <= 0) return std::nullopt;
    l.volume = medium.volume;

    // The page raster's scale, each axis on its own.
    const std::int64_t w = slideWidthEmu > 0 ? slideWidthEmu : 1, h = slideHeightEmu > 0 ? slideHeightEmu : 1;
    const auto x0 = medium.xEmu * frame.width / w, x1 = (medium.xEmu + medium.widthEmu) * frame.width / w;
    const auto y0 = medium.yEmu * frame.height / h, y1 = (medium.yEmu + medium.heightEmu) * frame.height / h;
    l.left = x0;
    l.top = y0;
    l.width = std::max<std::int64_t>(2, x1 - x0);
    l.height = std::max<std::int64_t>(2, y1 - y0);
    l.rotation = medium.rotation;
    l.flipH = medium.flipH;
    l.flipV = medium.flipV;
    l.cropLeft = medium.cropLeft;
    l.cropTop = medium.cropTop;
    l.cropRight = medium.cropRight;
    l.cropBottom = medium.cropBottom;
    if (l.picture) {
        for (const auto& span : time.visible) {
            const std::int64_t from = std::max(span.startMs, *playStart), to = std::min(span.endMs, time.advanceMs);
            if (from < to) l.shown.push_back({time.startMs + from, time.startMs + to});
        }
    }
    return l;
}

std::optional<MsRange> moving(const MediaLayer& layer) {
    if (!layer.picture || layer.shown.empty()) return std::nullopt;
    return MsRange{layer.startMs, layer.startMs + layer.playMs};
}

Gathered gather(DeckModel& preparedDeck, const RenderPlan& plan, FrameSize frame, const std::filesystem::path& mediaDir,
                const DeckLinks::Rule& links, const WarningCallback& warn,
                const std::optional<CancellationToken>& cancel, const std::map<std::string, DrawnEffect>& transitions) {
    Gathered out;
    PptxArchive::Deck& deck = preparedDeck.archive();
    std::map<std::string, std::variant<MediaInfo, std::string>> probed;  // by file
    std::map<std::string, std::filesystem::path> copied;                 // entry -> file
    // Linked files by their real path: the copy, or why there is none.
    std::map<std::filesystem::path, std::variant<std::filesystem::path, DeckLinks::Refusal>> linked;
    const auto fresh = [&](const std::filesystem::path& name) {
        std::filesystem::create_directories(mediaDir);
        return mediaDir / (std::to_string(copied.size() + linked.size()) + "-" + name.filename().string());
    };
    const auto checkCancel = [&] {
        if (cancel && cancel->isCancelled()) throw CancelledError();
    };
    // The file of an entry or a link, copied; nothing when it cannot be (said
    // through `refuse` or, for a link, notFollowed).
    const auto obtain = [&](std::int64_t slide, const char* kind, const std::string& entry,
                            const std::string& externalTarget) -> std::optional<std::filesystem::path> {
        if (!entry.empty()) {
            auto [it, isNew] = copied.try_emplace(entry);
            if (isNew) {
                try {
                    it->second = fresh(entry);
                    // Media are stored, and copied in chunks whatever their size; the
                    // rare compressed one is inflated in memory.
                    try {
                        deck.extractStored(entry, it->second, [&](std::int64_t, std::int64_t) { checkCancel(); });
                    } catch (const PptxArchive::ArchiveError&) {
                        writeFile(it->second, deck.readEntryBytes(entry));
                    }
                } catch (const PptxArchive::ArchiveError& e) {
                    // No copy to probe: the archive's reason is the warning's.
                    it->second.clear();
                    probed[entry] = std::string(e.what());
                }
            }
            return it->second;
        }
        auto result = DeckLinks::check(externalTarget, links);
        if (const auto* real = std::get_if<std::filesystem::path>(&result)) {
            auto [it, isNew] = linked.try_emplace(*real);
            if (isNew) {
                it->second = fresh(*real);
                if (const auto refusal = DeckLinks::copy(*real, std::get<std::filesystem::path>(it->second),
                                                         kLargestLinkedMedium, checkCancel)) {
                    it->second = *refusal;
                }
            }
            result = it->second;
        }
        if (const auto* refusal = std::get_if<DeckLinks::Refusal>(&result)) {
            out.notFollowed.push_back({slide, kind, externalTarget, *refusal});
            return std::nullopt;
        }
        return std::get<std::filesystem::path>(result);
    };
    // What ffprobe says of the file, or why it does not play.
    const auto probe = [&](const std::filesystem::path& file,
                           const std::string& entry) -> const std::variant<MediaInfo, std::string>& {
        const std::string key = file.empty() ? entry : file.string();
        if (!probed.contains(key)) probed[key] = MediaProbe::probe(file, cancel);
        return probed[key];
    };
    std::int64_t slideStart = 0;
    const std::int64_t movieMs = plan.totalMs();
    for (const auto& slide : plan.slides) {
        if (slide.hidden) continue;
        // No relationships: no media behind the shapes.
        for (const auto& medium :
             SlideMedia::find(preparedDeck.part(slide.file), preparedDeck.relationshipsText(slide.file), slide.file)) {
            checkCancel();
            const auto file = obtain(slide.displayIndex, mediumName(medium.kind), medium.entry, medium.externalTarget);
            if (!file) continue;
            const auto& probedFile = probe(*file, medium.entry);
            if (const auto* why = std::get_if<std::string>(&probedFile)) {
                if (warn) warn(Warning::mediaNotPlayed(slide.displayIndex, mediumName(medium.kind), *why));
                continue;
            }
            const auto& info = std::get<MediaInfo>(probedFile);
            SlideTime time{slideStart, slide.advanceTimeMs, std::nullopt, visibleSpans(slide, medium.shapeId)};
            for (const auto& start : slide.playout.media) {
                if (start.shapeId == medium.shapeId) {
                    time.playStartMs = start.startMs;
                    break;
                }
            }
            auto layer = place(medium, info, time, frame, plan.slideWidthEmu, plan.slideHeightEmu);
            if (!layer) continue;
            layer->file = *file;
            if (const auto span = moving(*layer)) out.moving.push_back(*span);
            if (layer->gif) out.drawnGifs[slide.displayIndex].push_back(medium.shapeId);
            out.layers.push_back(std::move(*layer));
        }

        const auto transition = transitions.find(slide.file);
        const auto cues = EffectSounds::cues(slide.playout, slide.advanceTimeMs,
                                             transition == transitions.end() ? std::nullopt
                                                                             : std::optional(transition->second));
        for (std::size_t k = 0; k < cues.size(); ++k) {
            const std::string& id = cues[k].sound.relationshipId;
            if (id.empty()) continue;  // only stops what plays
            checkCancel();
            const auto refuse = [&](const std::string& why) {
                if (warn) warn(Warning::mediaNotPlayed(slide.displayIndex, kSoundName, why));
            };
            std::optional<Relationship> rel;
            try {
                for (const auto& r : preparedDeck.relationships(slide.file)) {
                    if (r.id == id) rel = r;
                }
            } catch (const std::exception& e) {
                refuse(std::string("the slide's relationships cannot be read: ") + e.what());
                continue;
            }
            if (!rel) {
                refuse("the slide lists no file as " + id);
                continue;
            }
            const std::string entry = rel->external() ? "" : Relationships::resolveEntry(rel->target, slide.file);
            const auto file = obtain(slide.displayIndex, kSoundName, entry, rel->external() ? rel->target : "");
            if (!file) continue;
            const auto& probedFile = probe(*file, entry);
            const auto* info = std::get_if<MediaInfo>(&probedFile);
            if (!info || !info->hasSound) {
                refuse(info ? std::string("no sound in it") : std::get<std::string>(probedFile));
                continue;
            }
            auto layer = EffectSounds::place(cues, k, info->durationMs, {slideStart, slide.advanceTimeMs, movieMs});
            if (!layer) continue;
            layer->file = *file;
            out.layers.push_back(std::move(*layer));
        }
        slideStart += slide.advanceTimeMs;
    }
    return out;
}

Gathered gatherPostponingProbe(DeckModel& preparedDeck, const RenderPlan& plan, FrameSize frame,
                               const std::filesystem::path& mediaDir, const DeckLinks::Rule& links,
                               const WarningCallback& warn, const std::optional<CancellationToken>& cancel,
                               const std::map<std::string, DrawnEffect>& transitions) {
    try {
        return gather(preparedDeck, plan, frame, mediaDir, links, warn, cancel, transitions);
    } catch (const RenderError& e) {
        if (e.errorCase() != RenderError::Case::missingTool) throw;
        Gathered none;
        none.missingProbe = std::current_exception();
        return none;
    }
}

}  // namespace orvandel::MediaLayers
