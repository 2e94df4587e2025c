#pragma once
// Helpers shared by the test executables: the shared corpus of real decks,
// temporary directories, and the switch that skips slow end-to-end tests.
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace orvandel::test {

// ../shared/corpus beside the project (ORVANDEL_CORPUS overrides it).
std::filesystem::path corpusDir();
// Every deck of the corpus, sorted by name; empty when the folder is absent.
std::vector<std::filesystem::path> corpusDecks();
bool isBrokenDeck(const std::filesystem::path& deck);

std::filesystem::path sourceDir();
std::filesystem::path cliPath();

// Set under the sanitizer build: tests that mostly wait on other programs skip.
bool slowTestsSkipped();
bool haveProgram(const std::string& name);

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

}  // namespace orvandel::test

#define ORVANDEL_REQUIRE_CORPUS()                                                   \
    do {                                                                            \
        if (::orvandel::test::corpusDecks().empty()) GTEST_SKIP() << "no corpus"; \
    } while (0)
