#include "Lessons.hpp"

#include <nlohmann/json.hpp>

#include "DeckBuilder.hpp"
#include "TimingFixtures.hpp"
#include "base/Subprocess.hpp"

namespace orvandel::test {

namespace {

std::string titled(const std::string& title) {
    return "<p:sp><p:nvSpPr><p:cNvPr id=\"4\" name=\"T\"/><p:cNvSpPr/><p:nvPr><p:ph type=\"title\"/></p:nvPr>"
           "</p:nvSpPr><p:spPr/><p:txBody><a:p><a:r><a:t>" + title + "</a:t></a:r></a:p></p:txBody></p:sp>";
}

}  // namespace

const std::map<std::int64_t, std::string> kNotes{{1, "Boas-vindas"}, {2, "oculto"}, {3, "Terceiro"}};

Lesson exportLesson(const TempDir& dir, const std::vector<std::string>& options) {
    const std::string steps = step(anim("clickEffect", "500", "entr")) + step(anim("clickEffect", "500", "entr"));
    DeckBuilder builder;
    builder.addSlide(slideXml(titled("Fotossíntese")))
        .addSlide(slideXml(titled("Oculto"), "", "show=\"0\""))
        .addSlide(slideXml(kTextBox + titled("Luz &amp; água"), timing(steps)))
        .addSlide(slideXml(kTextBox));
    for (const auto& [slide, text] : kNotes) builder.addNotes(static_cast<int>(slide), notesSlideXml({text}));
    Lesson lesson{builder.write(dir / "aula.pptx"), dir / "movie.mp4", dir / "aula.orv"};
    const auto scan = nlohmann::json::parse(runCli({"scan", lesson.deck.string(), "--json"}).standardOutput);
    for (const auto& s : scan) lesson.planMs += s["isHidden"].get<bool>() ? 0 : s["advTmMs"].get<std::int64_t>();
    const auto made = Subprocess::run({"ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i", "color=c=white:s=320x180:r=10", "-t",
                           std::to_string(lesson.planMs) + "ms", "-c:v", "libx264", "-pix_fmt", "yuv420p",
                           "-video_track_timescale", "1000", lesson.movie.string()});
    EXPECT_EQ(made.exitStatus, 0) << made.standardError;
    std::vector<std::string> args{"export", lesson.deck.string(), "--mp4", lesson.movie.string(), "-o",
                                  lesson.orv.string()};
    args.insert(args.end(), options.begin(), options.end());
    const auto r = runCli(args);
    EXPECT_EQ(r.exitStatus, 0) << r.standardError;
    return lesson;
}

bool haveMediaTools() { return haveProgram("ffmpeg") && haveProgram("ffprobe"); }

}  // namespace orvandel::test
