// Runs a fuzz target's entry point on the files given (or on every file of
// the folders given), so that the normal build keeps the targets compiling
// and replays their committed inputs under the sanitizers of that build.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
    int replayed = 0;
    for (int i = 1; i < argc; ++i) {
        std::vector<std::filesystem::path> files;
        if (std::filesystem::is_directory(argv[i])) {
            for (const auto& e : std::filesystem::directory_iterator(argv[i])) files.push_back(e.path());
        } else {
            files.emplace_back(argv[i]);
        }
        for (const auto& f : files) {
            std::ifstream in(f, std::ios::binary);
            const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(in), {}};
            LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
            ++replayed;
        }
    }
    std::printf("replayed %d inputs\n", replayed);
    return replayed > 0 ? 0 : 1;
}
