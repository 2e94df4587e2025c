// Packaging a large master movie: wall time and peak memory of
// OrvPackager::package. The movie is copied into the archive in chunks, so
// peak memory should stay far below the movie's size.
//   build/bench/package_bench [size in MiB, default 1024]
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <vector>

#include "package/OrvPackager.hpp"

namespace fs = std::filesystem;

int main(int argc, char** argv) {
    const long mib = argc > 1 ? std::atol(argv[1]) : 1024;
    const fs::path dir = fs::temp_directory_path() / "orvandel-package-bench";
    fs::create_directories(dir);
    const fs::path movie = dir / "master.mp4";
    {
        // Real bytes, not a sparse hole, so that reading costs what it would.
        std::ofstream out(movie, std::ios::binary);
        std::vector<char> block(1 << 20);
        for (std::size_t i = 0; i < block.size(); ++i) block[i] = static_cast<char>(i * 31 + 7);
        for (long i = 0; i < mib; ++i) out.write(block.data(), static_cast<std::streamsize>(block.size()));
    }
    const auto start = std::chrono::steady_clock::now();
    orvandel::OrvPackager::package(R"({"cues": [], "masterVideoDuration": 1})", movie, dir / "lesson.orv");
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::printf("movie:            %ld MiB\n", mib);
    std::printf("package wall:     %.2f s (%.0f MiB/s)\n", seconds, double(mib) / seconds);
    std::printf("peak memory:      %.1f MiB (ru_maxrss)\n", double(usage.ru_maxrss) / 1024.0);
    fs::remove_all(dir);
    return 0;
}
