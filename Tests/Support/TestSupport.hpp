#pragma once
// Helpers shared by the test executables: the shared corpus of real decks,
// temporary directories, and the switch that skips slow end-to-end tests.
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "base/Subprocess.hpp"

namespace orvandel::test {

// ../shared/corpus beside the project (ORVANDEL_CORPUS overrides it).
std::filesystem::path corpusDir();
// Every deck of the corpus, sorted by name; empty when the folder is absent.
std::vector<std::filesystem::path> corpusDecks();

std::filesystem::path sourceDir();
std::filesystem::path cliPath();
// The tests' helper program (Tests/Support/TestHelper.cpp, usage there).
std::filesystem::path helperPath();
// The command-line program run with `args`, within three minutes unless told otherwise.
SubprocessResult runCli(std::vector<std::string> args, SubprocessOptions options = {});

// Set under the sanitizer build: tests that mostly wait on other programs skip.
bool slowTestsSkipped();
bool haveProgram(const std::string& name);
inline bool haveMediaTools() { return haveProgram("ffmpeg") && haveProgram("ffprobe"); }
// LibreOffice, poppler and ffmpeg are there, and slow tests are not skipped.
inline bool canRender() {
    return !slowTestsSkipped() && haveProgram("soffice") && haveProgram("pdftocairo") && haveMediaTools();
}
// Runs ffmpeg quietly, overwriting its outputs (to make test media).
inline void ffmpeg(const std::vector<std::string>& args) {
    std::vector<std::string> argv{"ffmpeg", "-v", "error", "-y"};
    argv.insert(argv.end(), args.begin(), args.end());
    const auto r = Subprocess::run(argv);
    ASSERT_EQ(r.exitStatus, 0) << r.standardError;
}

// A process still running: gone or a zombie awaiting its reaper counts as ended.
bool isRunning(int pid);
// Whether `condition` holds, asked every 20 ms until it does or `within` is over.
bool eventually(const std::function<bool()>& condition, std::chrono::milliseconds within);
// A live process whose environment has an entry that begins with `entry`:
// a run started with that entry (a marker, a TMPDIR), and all it started.
struct MarkedProcess {
    int pid, parent;
    std::string name;
};
std::vector<MarkedProcess> processesWith(const std::string& entry);
// The entries of `dir` whose file name contains `part`.
std::vector<std::string> entriesNamed(const std::filesystem::path& dir, const std::string& part);

// The E that f throws. Any other exception propagates and fails the test; so
// does throwing nothing.
template <class E, class F>
E thrown(F&& f) {
    try {
        f();
    } catch (const E& e) {
        return e;
    }
    throw std::logic_error(std::string("nothing thrown, expected ") + typeid(E).name());
}

// Environment variables set for the guard's lifetime, then restored.
class ScopedEnv {
public:
    explicit ScopedEnv(const std::vector<std::pair<std::string, std::string>>& values);
    ~ScopedEnv();
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

// A fresh directory under the system temporary directory, removed with its contents.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

// Runs each test under pt_BR.UTF-8, whose decimal mark is a comma, and puts
// the C locale back afterwards. Skips, naming the locale, where it is not
// installed (Debian: locales-all, which scripts/install-deps.sh installs).
class CommaDecimalLocaleTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
};

}  // namespace orvandel::test

#define ORVANDEL_REQUIRE_CORPUS()                                                 \
    do {                                                                          \
        if (::orvandel::test::corpusDecks().empty()) GTEST_SKIP() << "no corpus"; \
    } while (0)
