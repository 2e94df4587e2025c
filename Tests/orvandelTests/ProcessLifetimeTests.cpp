#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <thread>

#include "DeckBuilder.hpp"
#include "TestSupport.hpp"
#include "TimingFixtures.hpp"
#include "base/Bytes.hpp"
#include "base/Subprocess.hpp"
#include "base/Uuid.hpp"

using namespace orvandel;
using namespace orvandel::test;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

// `orvandel export` on a thread of its own, marked through its environment.
class MarkedExport {
public:
    MarkedExport(const std::vector<std::string>& args, const fs::path& tmp)
        : marker_("ORVANDEL_LIFETIME_RUN=" + makeUuid()), thread_([this, args, tmp] {
              result_ = runCli(args, {.environment = {marker_, "TMPDIR=" + tmp.string()}, .timeout = 10min});
          }) {}
    ~MarkedExport() {
        if (thread_.joinable()) killAndWait();
    }

    // Whether a process of the run named `name` shows up within three minutes.
    bool reaches(const std::string& name) const {
        return eventually(
            [&] {
                const auto all = processesWith(marker_);
                return std::any_of(all.begin(), all.end(), [&](const MarkedProcess& p) { return p.name == name; });
            },
            3min);
    }

    // SIGKILL of orvandel itself (the test's one child in the run); what is
    // left of the run two seconds later, or that the kill came too late.
    std::string killAndWait() {
        for (const auto& p : processesWith(marker_)) {
            if (p.parent == ::getpid()) ::kill(p.pid, SIGKILL);
        }
        thread_.join();
        if (result_.termSignal != SIGKILL) return "nothing to kill: the export had ended";
        eventually([&] { return processesWith(marker_).empty(); }, 2s);
        std::string left;
        for (const auto& p : processesWith(marker_)) left += p.name + " (" + std::to_string(p.pid) + ") ";
        return left;
    }

private:
    std::string marker_;
    SubprocessResult result_;
    std::thread thread_;
};

}  // namespace

// SIGKILL of an export (the out-of-memory killer, kill -9, an evicted pod)
// while LibreOffice converts, and again while ffmpeg encodes: nothing of the
// run stays alive, and the next export removes the scratch folder the killed
// run left, never the folder of a run still going.
TEST(ProcessLifetimeTest, AKilledExportLeavesNoProcessAndTheNextExportRemovesItsScratch) {
    if (!canRender()) GTEST_SKIP() << "needs soffice, poppler and ffmpeg";
    TempDir dir;
    const auto tmp = dir / "tmp";
    fs::create_directories(tmp);
    // Forty slides on which a box takes half a minute to come in: a movie of
    // over twenty minutes keeps ffmpeg busy.
    DeckBuilder long_;
    for (int i = 0; i < 40; ++i) long_.addSlide(slideXml(kTextBox, timing(step(anim("clickEffect", "30000", "entr")))));
    long_.write(dir / "long.pptx");
    const std::vector<std::string> render{"export",     (dir / "long.pptx").string(),
                                          "-o",         (dir / "long.orv").string(),
                                          "--renderer", "libreoffice",
                                          "--effects",  "cut"};
    // An export that only packages a movie given to it, in a scratch folder
    // of its own (for the chapters).
    DeckBuilder().addSlide(slideXml()).write(dir / "short.pptx");
    ffmpeg({"-f", "lavfi", "-i", "color=c=white:s=320x180:r=10", "-t", "1", "-pix_fmt", "yuv420p",
            (dir / "clip.mp4").string()});
    const auto package = [&] {
        return runCli({"export", (dir / "short.pptx").string(), "--mp4", (dir / "clip.mp4").string(), "--chapters",
                       "-o", (dir / "short.orv").string()},
                      {.environment = {"TMPDIR=" + tmp.string()}});
    };

    MarkedExport converting(render, tmp);
    ASSERT_TRUE(converting.reaches("soffice.bin"));
    EXPECT_EQ(converting.killAndWait(), "") << "alive after the kill";
    EXPECT_EQ(entriesNamed(tmp, "orv-chain-").size(), 1u) << "the killed run's scratch folder";

    MarkedExport encoding(render, tmp);
    ASSERT_TRUE(encoding.reaches("ffmpeg"));
    const auto live = entriesNamed(tmp, "orv-chain-");
    EXPECT_EQ(live.size(), 1u) << "the killed run's folder was not removed";
    EXPECT_EQ(package().exitStatus, 0);
    EXPECT_EQ(entriesNamed(tmp, "orv-chain-"), live) << "a live run's folder was taken";

    EXPECT_EQ(encoding.killAndWait(), "") << "alive after the kill";
    EXPECT_EQ(package().exitStatus, 0);
    EXPECT_TRUE(fs::is_empty(tmp));
}
