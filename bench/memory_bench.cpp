// Peak memory of the command line on decks with large parts: the largest
// corpus deck, a deck whose slide unpacks to 200 MB, and one whose slide
// unpacks to 4 GiB (refused); and on packages whose manifest is made to
// exhaust memory: 5 MB of "[", and 32 MiB of "{}," as cues. Each `scan` and
// `prepare` of a deck, `probe` and `preview` of a package, runs under
// /usr/bin/time -v; with --baseline PATH another build of the command line
// runs beside it, so that before and after come from the same machine and run.
//
//   build/bench/memory_bench [--baseline OLD_ORVANDEL] [--keep DIR]
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "BenchDecks.hpp"
#include "base/Bytes.hpp"
#include "base/Subprocess.hpp"
#include "base/TemporaryDirectory.hpp"
#include "container/ZipArchive.hpp"

using namespace orvandel;

namespace {

struct Run {
    std::string peak = "?";
    std::string wall = "?";
    int status = 0;
    std::string firstError;
};

std::string field(const std::string& report, const std::string& key) {
    const auto at = report.find(key);
    if (at == std::string::npos) return "?";
    const auto start = at + key.size();
    return report.substr(start, report.find('\n', start) - start);
}

Run measure(const std::filesystem::path& cli, const std::vector<std::string>& args) {
    std::vector<std::string> argv{"/usr/bin/time", "-v", cli.string()};
    argv.insert(argv.end(), args.begin(), args.end());
    const auto r = Subprocess::run(argv, {.timeout = std::chrono::minutes(10)});
    Run run;
    const std::string kb = field(r.standardError, "Maximum resident set size (kbytes): ");
    if (kb != "?") run.peak = std::to_string(std::stoll(kb) / 1024) + " MiB";
    run.wall = field(r.standardError, "Elapsed (wall clock) time (h:mm:ss or m:ss): ");
    run.status = r.exitStatus;
    const auto line = r.standardError.substr(0, r.standardError.find('\n'));
    if (r.exitStatus != 0) run.firstError = line.size() > 110 ? line.substr(0, 110) + "..." : line;
    return run;
}

}  // namespace

int main(int argc, char** argv) {
    std::optional<std::filesystem::path> baseline;
    std::optional<std::filesystem::path> keep;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string flag = argv[i];
        if (flag == "--baseline") baseline = argv[i + 1];
        if (flag == "--keep") keep = argv[i + 1];
    }
    const std::filesystem::path cli = std::filesystem::path(ORVANDEL_BUILD_DIR) / "orvandel";
    TemporaryDirectory scratch(std::filesystem::temp_directory_path(), "memory-bench-");
    const auto dir = keep ? *keep : scratch.path();
    std::filesystem::create_directories(dir);

    std::vector<std::pair<std::string, std::filesystem::path>> decks;
    if (const auto corpus = test::largestCorpusDeck(); !corpus.empty())
        decks.emplace_back("largest corpus deck", corpus);
    std::cerr << "writing the decks with huge slides...\n";
    test::writeHugeSlideDeck(dir / "slide-200MB.pptx", 200'000'000);
    decks.emplace_back("200 MB slide", dir / "slide-200MB.pptx");
    test::writeHugeSlideDeck(dir / "slide-4GiB.pptx", 0xFFFFFFFEull);
    decks.emplace_back("4 GiB slide", dir / "slide-4GiB.pptx");

    std::vector<std::pair<std::string, std::filesystem::path>> packages;
    const std::string lesson = R"({"sourceFileName": "a.pptx", "masterVideoDuration": 1, "notesBySlide": {}, "cues": )";
    std::string objects = lesson + "[{}";
    while (objects.size() < (std::size_t{32} << 20) - 8) objects += ",{}";
    for (const auto& [label, manifest] :
         {std::pair{"5 MB of [", std::string(5 << 20, '[')}, std::pair{"32 MiB of {},", objects + "]}"}}) {
        const auto orv = dir / (std::to_string(packages.size()) + ".orv");
        ZipArchive::create({{"manifest.json", toBytes(manifest)}, {"assets/master.mp4", {}}}, orv);
        packages.emplace_back(label, orv);
    }

    std::vector<std::pair<std::string, std::filesystem::path>> builds{{"this", cli}};
    if (baseline) builds.emplace_back("baseline", *baseline);
    std::printf("%-20s %-8s %-10s %12s %10s  %s\n", "input", "command", "build", "peak RSS", "wall", "outcome");
    const auto report = [&](const std::string& label, const std::vector<std::string>& args) {
        for (const auto& [name, binary] : builds) {
            const Run run = measure(binary, args);
            const std::string outcome = run.status == 0 ? "ok"
                                                        : "exit " + std::to_string(run.status) + ": " + run.firstError;
            std::printf("%-20s %-8s %-10s %12s %10s  %s\n", label.c_str(), args.front().c_str(), name.c_str(),
                        run.peak.c_str(), run.wall.c_str(), outcome.c_str());
        }
    };
    for (const auto& [label, deck] : decks) {
        report(label, {"scan", deck.string()});
        report(label, {"prepare", deck.string(), "-o", (dir / "prepared.pptx").string()});
    }
    for (const auto& [label, orv] : packages) {
        report(label, {"probe", orv.string()});
        report(label, {"preview", orv.string(), "-o", (dir / "preview").string()});
    }
    std::error_code ec;
    std::filesystem::remove(dir / "prepared.pptx", ec);
    return 0;
}
