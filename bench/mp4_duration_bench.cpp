// Measuring a movie's duration reads a few box headers by seeking, so the
// cost must not grow with the media: a small movie and movies whose 'moov'
// sits behind 1 GiB and 5 GiB of (sparse) media should measure alike.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <unistd.h>

#include "base/Bytes.hpp"
#include "render/Mp4Duration.hpp"

namespace {

void putBe(std::string& b, std::uint64_t v, int bytes) {
    for (int i = bytes - 1; i >= 0; --i) b += static_cast<char>(v >> (8 * i));
}

// ftyp, an mdat of `media` bytes left as a hole, then moov with a version-1 mvhd.
std::filesystem::path sparseMovie(const std::filesystem::path& dir, std::int64_t media) {
    std::string head("\0\0\0\x10"
                     "ftypisom\0\0\0\0",
                     16);
    putBe(head, 1, 4);
    head += "mdat";
    putBe(head, std::uint64_t(media) + 16, 8);
    std::string moov;
    putBe(moov, 8 + 8 + 112, 4);
    moov += "moov";
    putBe(moov, 8 + 112, 4);
    moov += "mvhd";
    putBe(moov, 0x01000000, 4);  // version 1, no flags
    moov.append(16, '\0');       // creation, modification
    putBe(moov, 600, 4);         // timescale
    putBe(moov, 1800000, 8);     // duration: 50 minutes
    moov.resize(moov.size() + 80, '\0');

    const auto path = dir / ("movie-" + std::to_string(media) + ".mp4");
    orvandel::writeFile(path, head);
    const int fd = ::open(path.c_str(), O_WRONLY);
    if (fd < 0 || ::pwrite(fd, moov.data(), moov.size(), off_t(head.size() + media)) != ssize_t(moov.size())) {
        std::abort();
    }
    ::close(fd);
    return path;
}

std::filesystem::path benchDir() {
    static const std::filesystem::path dir = [] {
        std::string pattern = (std::filesystem::temp_directory_path() / "orvandel-bench-XXXXXX").string();
        if (!::mkdtemp(pattern.data())) std::abort();
        return std::filesystem::path(pattern);
    }();
    return dir;
}

void BM_MeasureMs(benchmark::State& state) {
    const auto movie = sparseMovie(benchDir(), state.range(0));
    for (auto _ : state) benchmark::DoNotOptimize(orvandel::Mp4Duration::measureMs(movie));
    state.counters["media_MiB"] = double(state.range(0)) / (1 << 20);
    std::filesystem::remove(movie);
}
BENCHMARK(BM_MeasureMs)->Arg(0)->Arg(std::int64_t(1) << 30)->Arg(std::int64_t(5) << 30)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    std::filesystem::remove_all(benchDir());
    return 0;
}
