#include "TestSupport.hpp"

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <thread>

#include "base/Bytes.hpp"
#include "base/Error.hpp"
#include "base/Subprocess.hpp"

namespace orvandel::test {

std::filesystem::path sourceDir() { return ORVANDEL_SOURCE_DIR; }

std::filesystem::path cliPath() { return ORVANDEL_CLI_PATH; }

std::filesystem::path helperPath() { return ORVANDEL_TEST_HELPER_PATH; }

SubprocessResult runCli(std::vector<std::string> args, SubprocessOptions options) {
    args.insert(args.begin(), cliPath().string());
    if (!options.timeout) options.timeout = std::chrono::minutes(3);
    return Subprocess::run(args, options);
}

std::filesystem::path corpusDir() {
    if (const char* env = std::getenv("ORVANDEL_CORPUS")) return env;
    return sourceDir() / ".." / "shared" / "corpus";
}

std::vector<std::filesystem::path> corpusDecks() {
    std::vector<std::filesystem::path> out;
    std::error_code ec;
    if (!std::filesystem::is_directory(corpusDir(), ec)) return out;
    for (const auto& e : std::filesystem::directory_iterator(corpusDir(), ec)) {
        const auto ext = e.path().extension().string();
        if (ext == ".pptx" || ext == ".potx" || ext == ".ppsx") out.push_back(e.path());
    }
    std::sort(out.begin(), out.end());
    return out;
}

bool slowTestsSkipped() {
    const char* env = std::getenv("ORVANDEL_SKIP_SLOW");
    return env && std::string(env) == "1";
}

bool haveProgram(const std::string& name) { return Subprocess::findOnPath(name).has_value(); }

bool isRunning(int pid) {
    try {
        const auto stat = toString(readFile("/proc/" + std::to_string(pid) + "/stat"));
        const auto close = stat.rfind(')');
        return close != std::string::npos && close + 2 < stat.size() && stat[close + 2] != 'Z';
    } catch (const Error&) {
        return false;
    }
}

bool eventually(const std::function<bool()>& condition, std::chrono::milliseconds within) {
    for (const auto end = std::chrono::steady_clock::now() + within; !condition();) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

std::vector<MarkedProcess> processesWith(const std::string& entry) {
    std::vector<MarkedProcess> found;
    for (const auto& e : std::filesystem::directory_iterator("/proc")) {
        try {
            const std::string environment = '\0' + toString(readFile(e.path() / "environ"));
            if (environment.find('\0' + entry) == std::string::npos) continue;
            const std::string stat = toString(readFile(e.path() / "stat"));  // pid (name) state parent ...
            const auto open = stat.find('('), close = stat.rfind(')');
            found.push_back(
                {std::stoi(stat), std::stoi(stat.substr(close + 4)), stat.substr(open + 1, close - open - 1)});
        } catch (const Error&) {
            // not a process, a zombie (its environment cannot be read), or not ours to read
        }
    }
    return found;
}

std::vector<std::string> entriesNamed(const std::filesystem::path& dir, const std::string& part) {
    std::vector<std::string> out;
    for (const auto& e : std::filesystem::directory_iterator(dir)) {
        if (e.path().filename().string().find(part) != std::string::npos) out.push_back(e.path().string());
    }
    return out;
}

ScopedEnv::ScopedEnv(const std::vector<std::pair<std::string, std::string>>& values) {
    for (const auto& [name, value] : values) {
        const char* old = std::getenv(name.c_str());
        saved_.emplace_back(name, old ? std::optional<std::string>(old) : std::nullopt);
        ::setenv(name.c_str(), value.c_str(), 1);
    }
}

ScopedEnv::~ScopedEnv() {
    for (auto it = saved_.rbegin(); it != saved_.rend(); ++it) {
        if (it->second) ::setenv(it->first.c_str(), it->second->c_str(), 1);
        else ::unsetenv(it->first.c_str());
    }
}

void CommaDecimalLocaleTest::SetUp() {
    if (!std::setlocale(LC_ALL, "pt_BR.UTF-8")) GTEST_SKIP() << "locale pt_BR.UTF-8 is not installed (locales-all)";
    // The trap is armed: the C library itself now writes a decimal comma.
    char text[16];
    std::snprintf(text, sizeof text, "%.1f", 12.34);
    ASSERT_STREQ(text, "12,3");
}

void CommaDecimalLocaleTest::TearDown() { std::setlocale(LC_ALL, "C"); }

TempDir::TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "orvandel-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("could not create a temporary directory");
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
}

namespace {

// Every test process, and whatever it runs, keeps its render cache in a
// folder of its own that goes with it: the user's cache is never filled, and
// no test reuses what an earlier build or another test left there.
struct OwnRenderCache {
    TempDir folder;
    OwnRenderCache() { ::setenv("XDG_CACHE_HOME", folder.path().c_str(), 1); }
};
const OwnRenderCache ownRenderCache;

}  // namespace

}  // namespace orvandel::test
