#include <gtest/gtest.h>

#include <sys/stat.h>

#include <memory>
#include <sstream>

#include "DeckBuilder.hpp"
#include "GraphicParts.hpp"
#include "LoopbackServer.hpp"
#include "MovieFrames.hpp"
#include "TestSupport.hpp"
#include "TimingFixtures.hpp"
#include "plan/RenderPlan.hpp"

using namespace orvandel;
using namespace orvandel::test;
namespace fs = std::filesystem;
using namespace std::string_literals;

namespace {

std::string linkedPicture(const std::string& id) { return mediaPicture(id, "", "<a:blip r:link=\"rId2\"/>"); }
// Shape 3, a video linked through rId2 whose poster is rId9.
const std::string kLinkedVideo = mediaPicture("3", "<a:videoFile r:link=\"rId2\"/>", "<a:blip r:embed=\"rId9\"/>");

// The mean gray of a frame inside the media's rectangle, 10 pixels in from its sides.
int meanGray(const std::string& frame) {
    long sum = 0, count = 0;
    for (int y = 145; y < 233; ++y) {
        for (int x = 250; x < 410; ++x, ++count) sum += static_cast<unsigned char>(frame[std::size_t(y) * kWidth + x]);
    }
    return static_cast<int>(sum / count);
}

struct Export {
    SubprocessResult result;
    std::vector<std::string> warnings;  // the lines about links
    std::unique_ptr<MovieFrames> movie;
};

// The suite's folder, server, the two exports, and where each slide starts.
struct Suite {
    TempDir dir;
    LoopbackServer server;
    Export confined, allowed;
    std::vector<std::int64_t> slideStartMs;
};

}  // namespace

// One deck whose every slide links out of it, exported twice by the command
// line with the headless renderer, with and without --allow-links-outside,
// while a server on 127.0.0.1 counts the connections it gets:
//  1. a picture (http), a picture (smb), an audio clip (https), an OLE object
//     (ftp), a hyperlink and a chart's data (http), all at the server;
//  2. a video at the server;
//  3-5. the red picture outside the deck's folder: a file URL, "../", and a
//     link in the folder that leads there;
//  6. the green picture inside the folder;
//  7-8. a FIFO in the folder, /dev/zero;
//  9-10. the magenta video outside the folder, and a copy inside it.
class LinkedFilesMovieTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        if (!canRender()) return;
        run_ = std::make_unique<Suite>();
        const fs::path root = fs::canonical(run_->dir.path()), deck = root / "aula", outside = root / "fora";
        fs::create_directories(deck / "imagens");
        fs::create_directories(outside);
        ffmpeg({"-f", "lavfi", "-i", "color=red:s=64x64", "-frames:v", "1", (outside / "red.png").string()});
        ffmpeg({"-f", "lavfi", "-i", "color=lime:s=64x64", "-frames:v", "1", (deck / "imagens/verde.png").string()});
        ffmpeg({"-f", "lavfi", "-i", "color=blue:s=64x64", "-frames:v", "1", (root / "poster.png").string()});
        ffmpeg({"-f", "lavfi", "-i", "color=magenta:s=160x96:r=25:d=1.2", "-c:v", "libx264", "-pix_fmt", "yuv420p",
                (outside / "clip.mp4").string()});
        fs::copy_file(outside / "clip.mp4", deck / "clip.mp4");
        fs::create_symlink("../fora/red.png", deck / "escape.png");
        ASSERT_EQ(::mkfifo((deck / "pipe.png").c_str(), 0600), 0);

        const LoopbackServer& s = run_->server;
        // The server's one connection: it is listening, and counts.
        Subprocess::run({"ffprobe", "-v", "quiet", s.url("http", "probe")});
        const std::string ole =
            graphicFrame("6", "<a:graphicData uri=\"http://schemas.openxmlformats.org/presentationml/2006/ole\">"
                              "<p:oleObj r:id=\"rId5\" progId=\"Excel.Sheet.12\"><p:link updateAutomatic=\"1\"/>" +
                                  mediaPicture("60", "", "<a:blip r:embed=\"rId9\"/>") + "</p:oleObj></a:graphicData>");
        const std::string hyperlink = "<p:sp><p:nvSpPr><p:cNvPr id=\"7\" name=\"t\"/><p:cNvSpPr txBox=\"1\"/><p:nvPr/>"
                                      "</p:nvSpPr><p:spPr/><p:txBody><a:bodyPr/><a:p><a:r><a:rPr><a:hlinkClick "
                                      "r:id=\"rId6\"/></a:rPr><a:t>link</a:t></a:r></a:p></p:txBody></p:sp>";
        std::string chart = columnChartXml(1, 2);
        chart.insert(chart.rfind("</c:chartSpace>"), "<c:externalData r:id=\"rId1\"/>");
        DeckBuilder builder;
        builder.addSlide(slideXml(linkedPicture("2") + mediaPicture("4", "", "<a:blip r:link=\"rId3\"/>") +
                                  mediaPicture("5", "<a:audioFile r:link=\"rId4\"/>", "<a:blip r:embed=\"rId9\"/>") +
                                  ole + hyperlink + chartFrame("8", "rId7")),
                         {{"rId2", "image", s.url("http", "p.png"), true},
                          {"rId3", "image", s.url("smb", "share/p.png"), true},
                          {"rId4", "audio", s.url("https", "a.mp3"), true},
                          {"rId5", "oleObject", s.url("ftp", "sheet.xlsx"), true},
                          {"rId6", "hyperlink", s.url("http", ""), true},
                          {"rId7", "chart", "../charts/chart1.xml"},
                          {"rId9", "image", "../media/poster.png"}});
        const auto addVideo = [&](const std::string& target) {
            builder.addSlide(slideXml(kLinkedVideo, playOnClick("1200")),
                             {{"rId2", "video", target, true}, {"rId9", "image", "../media/poster.png"}});
        };
        addVideo(s.url("http", "v.mp4"));
        for (const std::string& target : {"file://" + (outside / "red.png").string(), "../fora/red.png"s, "escape.png"s,
                                          "imagens/verde.png"s, "pipe.png"s, "/dev/zero"s}) {
            builder.addSlide(slideXml(linkedPicture("2")), {{"rId2", "image", target, true}});
        }
        addVideo("file://" + (outside / "clip.mp4").string());
        addVideo("clip.mp4");
        builder.addEntry("ppt/media/poster.png", readFile(root / "poster.png"))
            .addEntry("ppt/charts/chart1.xml", chart)
            .addEntry("ppt/charts/_rels/chart1.xml.rels",
                      relationshipsXml({{"rId1", "package", s.url("http", "data.xlsx"), true}}))
            .write(deck / "deck.pptx");
        // Where the slides start, as the export prepares the deck.
        ASSERT_TRUE(
            runCli({"prepare", (deck / "deck.pptx").string(), "-o", (root / "prepared.pptx").string()}).succeeded());
        std::int64_t start = 0;
        for (const auto& slide : RenderPlanReader::read(root / "prepared.pptx").slides) {
            run_->slideStartMs.push_back(start);
            start += slide.advanceTimeMs;
        }
        for (const bool allowed : {false, true}) {
            Export& e = allowed ? run_->allowed : run_->confined;
            const std::string name = allowed ? "allowed" : "confined", orv = (root / (name + ".orv")).string();
            std::vector<std::string> args{"export",     (deck / "deck.pptx").string(), "-o", orv, "--renderer",
                                          "libreoffice"};
            if (allowed) args.push_back("--allow-links-outside");
            e.result = runCli(args, {.timeout = std::chrono::minutes(10)});
            std::istringstream lines(e.result.standardError);
            for (std::string line; std::getline(lines, line);) {
                if (line.find("the linked") != std::string::npos) e.warnings.push_back(line);
            }
            if (!e.result.succeeded()) continue;
            Subprocess::run({"unzip", "-o", "-q", orv, "assets/master.mp4", "-d", (root / name).string()});
            e.movie = std::make_unique<MovieFrames>(root / name / "assets/master.mp4");
        }
    }
    static void TearDownTestSuite() { run_.reset(); }
    void SetUp() override {
        if (!run_) GTEST_SKIP() << "needs soffice, poppler and ffmpeg";
        for (const Export* e : {&run_->confined, &run_->allowed}) {
            ASSERT_TRUE(e->result.succeeded()) << e->result.standardError;
        }
    }
    // The gray of the rectangle `ms` into slide `n` (from 1).
    static int grayAt(const Export& e, std::size_t n, std::int64_t ms) {
        return meanGray(e.movie->shownAt(run_->slideStartMs.at(n - 1) + ms));
    }

    static inline std::unique_ptr<Suite> run_;
};

TEST_F(LinkedFilesMovieTest, NothingIsFetchedAndEachSlideWarnsOnceForItsLinksNotFollowed) {
    const auto& [dir, server, confined, allowed, starts] = *run_;
    EXPECT_EQ(server.connections(), 1) << "the test's own";
    const std::string outside = (fs::canonical(dir.path()) / "fora").string();
    const auto url = [&](const char* scheme, const char* path) { return server.url(scheme, path); };
    const std::string network = "\" is a network address and was not fetched";
    EXPECT_EQ(
        confined.warnings,
        (std::vector<std::string>{
            "warning: slide 1: the linked audio clip \"" + url("https", "a.mp3") + network +
                "; 2 more links on this slide were not followed either",
            "warning: slide 2: the linked video \"" + url("http", "v.mp4") + network,
            "warning: slide 3: the linked picture \"file://" + outside +
                "/red.png\" is outside the deck's folder and was not read",
            "warning: slide 4: the linked picture \"../fora/red.png\" is outside the deck's folder and was not read",
            "warning: slide 5: the linked picture \"escape.png\" is outside the deck's folder and was not read",
            "warning: slide 7: the linked picture \"pipe.png\" is not a regular file and was not read",
            "warning: slide 8: the linked picture \"/dev/zero\" is outside the deck's folder and was not read",
            "warning: slide 9: the linked video \"file://" + outside +
                "/clip.mp4\" is outside the deck's folder and was not read"}));
    // Outside files may be read, never addresses, devices or FIFOs.
    ASSERT_EQ(allowed.warnings.size(), 4u);
    EXPECT_EQ(allowed.warnings[1], confined.warnings[1]);
    EXPECT_EQ(allowed.warnings[3],
              "warning: slide 8: the linked picture \"/dev/zero\" is not a regular file and was not read");
}

TEST_F(LinkedFilesMovieTest, OutsideFilesShowOnlyWhenAllowedAndInsideFilesAlways) {
    // Red, lime, blue and magenta are far apart in gray; white is the slide.
    const auto red = [](int gray) { return gray > 60 && gray < 100; };
    const auto blank = [](int gray) { return gray > 220; };
    for (std::size_t slide : {3, 4, 5}) {
        EXPECT_PRED1(blank, grayAt(run_->confined, slide, 750)) << slide;
        EXPECT_PRED1(red, grayAt(run_->allowed, slide, 750)) << slide;
    }
    for (const Export* e : {&run_->confined, &run_->allowed}) {
        EXPECT_GT(grayAt(*e, 6, 750), 120) << "lime";
        EXPECT_LT(grayAt(*e, 6, 750), 200) << "lime";
        for (std::size_t slide : {7, 8}) EXPECT_PRED1(blank, grayAt(*e, slide, 750)) << slide;
        EXPECT_LT(grayAt(*e, 2, 1000), 60) << "the poster of the video at the server";
        EXPECT_GT(grayAt(*e, 10, 1000), 80) << "the video inside the folder plays";
    }
    EXPECT_LT(grayAt(run_->confined, 9, 1000), 60) << "the poster of the video outside";
    EXPECT_GT(grayAt(run_->allowed, 9, 1000), 80) << "the video outside plays";
}
