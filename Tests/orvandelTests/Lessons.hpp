#pragma once
// A small lesson exported by the command-line tool from a deck and a movie
// made with ffmpeg, for the tests of what reads packages back.
#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "DeckBuilder.hpp"
#include "TestSupport.hpp"
#include "TimingFixtures.hpp"

namespace orvandel::test {

// The notes of the lesson's deck: slide 2 is hidden; slide 3 has two click
// steps; slide 4 neither title nor notes.
inline const std::map<std::int64_t, std::string> kNotes{{1, "Boas-vindas"}, {2, "oculto"}, {3, "Terceiro"}};

// A deck, a movie as long as its plan (the ms), and the package exported
// from them with `options`.
struct Lesson {
    std::filesystem::path deck, movie, orv;
    std::int64_t planMs = 0;
};

inline Lesson exportLesson(const TempDir& dir, const std::vector<std::string>& options) {
    const auto titled = [](const std::string& title) {
        return "<p:sp><p:nvSpPr><p:cNvPr id=\"4\" name=\"T\"/><p:cNvSpPr/><p:nvPr><p:ph type=\"title\"/></p:nvPr>"
               "</p:nvSpPr><p:spPr/><p:txBody><a:p><a:r><a:t>" +
               title + "</a:t></a:r></a:p></p:txBody></p:sp>";
    };
    const std::string steps = step(anim("clickEffect", "500", "entr")) + step(anim("clickEffect", "500", "entr"));
    DeckBuilder builder;
    builder.addSlide(slideXml(titled("Fotossíntese")))
        .addSlide(slideXml(titled("Oculto"), "", "show=\"0\""))
        .addSlide(slideXml(kTextBox + titled("Luz &amp; água"), timing(steps)))
        .addSlide(slideXml(kTextBox));
    for (const auto& [slide, text] : kNotes) builder.addNotes(static_cast<int>(slide), notesSlideXml({text}));
    Lesson lesson{builder.write(dir / "aula.pptx"), dir / "movie.mp4", dir / "aula.orv"};
    for (const auto& s : nlohmann::json::parse(runCli({"scan", lesson.deck.string(), "--json"}).standardOutput)) {
        lesson.planMs += s["isHidden"].get<bool>() ? 0 : s["advTmMs"].get<std::int64_t>();
    }
    ffmpeg({"-f", "lavfi", "-i", "color=c=white:s=320x180:r=10", "-t", std::to_string(lesson.planMs) + "ms", "-c:v",
            "libx264", "-pix_fmt", "yuv420p", "-video_track_timescale", "1000", lesson.movie.string()});
    std::vector<std::string> args{"export", lesson.deck.string(), "--mp4", lesson.movie.string(),
                                  "-o",     lesson.orv.string()};
    args.insert(args.end(), options.begin(), options.end());
    const auto r = runCli(args);
    EXPECT_EQ(r.exitStatus, 0) << r.standardError;
    return lesson;
}

}  // namespace orvandel::test
