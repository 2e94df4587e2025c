// The SCORM package of an exported lesson, and an LMS (scorm-again's SCORM
// 1.2 API, in Chromium) launching it twice.
#include <gtest/gtest.h>

#include <algorithm>

#include <nlohmann/json.hpp>

#include "Lessons.hpp"
#include "TestSupport.hpp"
#include "base/Bytes.hpp"
#include "base/Subprocess.hpp"
#include "container/PptxArchive.hpp"
#include "container/ZipArchive.hpp"

using namespace orvandel;
using namespace orvandel::test;
namespace fs = std::filesystem;
using Json = nlohmann::json;

TEST(ScormCommandTest, NotesOnlyWhenAskedAndAnLmsHearsCompletionAndResumes) {
    if (!haveMediaTools()) GTEST_SKIP() << "needs ffmpeg";
    TempDir dir;
    const auto lesson = exportLesson(dir, {"--scorm"});
    ASSERT_EQ(runCli({"scorm", lesson.orv.string(), "-o", (dir / "notes.zip").string(), "--with-notes"}).exitStatus, 0);
    for (const auto& [zip, withNotes] : {std::pair{dir / "aula-scorm.zip", false}, {dir / "notes.zip", true}}) {
        EXPECT_EQ(PptxArchive::readEntryBytes(zip, "master.mp4"), readFile(lesson.movie));
        EXPECT_EQ(PptxArchive::readEntry(zip, "index.html").find("Boas-vindas") != std::string::npos, withNotes);
    }

    const auto script = sourceDir() / "bench" / "browser" / "scorm-check.mjs";
    if (slowTestsSkipped() || !fs::exists("/usr/bin/chromium") || !haveProgram("node") ||
        !fs::exists(script.parent_path() / "node_modules" / "scorm-again")) {
        GTEST_SKIP() << "needs chromium, node, playwright-core and scorm-again (bench/scorm-check.sh installs them)";
    }
    fs::create_directories(dir / "sco");
    for (const auto& name : ZipArchive::entryNames(dir / "aula-scorm.zip")) {
        writeFile(dir / "sco" / name, PptxArchive::readEntryBytes(dir / "aula-scorm.zip", name));
    }
    const auto r = Subprocess::run({"node", script.string(), (dir / "sco").string()},
                                   {.timeout = std::chrono::minutes(3)});
    ASSERT_EQ(r.exitStatus, 0) << r.standardError;
    const auto result = Json::parse(r.standardOutput);
    EXPECT_EQ(result["errors"], Json::array());
    const auto& first = result["first"];
    const auto& second = result["second"];
    EXPECT_TRUE(first["ended"].get<bool>());
    EXPECT_EQ(first["cmi"]["lesson_status"], "completed");
    EXPECT_EQ(first["cmi"]["lesson_location"], std::to_string(first["backToMs"].get<std::int64_t>()));
    // The second launch goes back there, and completion stays.
    EXPECT_NEAR(second["movieAtMs"].get<double>(), first["backToMs"].get<double>(), 100);
    EXPECT_EQ(second["cmi"]["lesson_status"], "completed");
    for (const auto* launch : {&first, &second}) {
        const auto& calls = (*launch)["calls"];
        ASSERT_FALSE(calls.empty());
        EXPECT_EQ(calls.front()["call"], "LMSInitialize");
        EXPECT_EQ(calls.back()["call"], "LMSFinish");
        EXPECT_EQ(std::count_if(calls.begin(), calls.end(), [](const Json& c) { return c["call"] == "LMSFinish"; }), 1);
    }
}
