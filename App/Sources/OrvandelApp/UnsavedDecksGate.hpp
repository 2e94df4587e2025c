#pragma once
// Before a PowerPoint export: the other decks open in PowerPoint with unsaved
// changes, which a forced end of a stuck render would lose, and the warning
// that lets the user save them first. Not used with the headless renderer,
// which never touches PowerPoint.
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

class QWidget;

namespace orvandel {

struct OpenDeck {
    std::string fullName;  // the deck's path; empty when PowerPoint cannot tell
    bool saved = false;
    bool operator==(const OpenDeck&) const = default;
};

namespace UnsavedDecksGate {

// The script that lists PowerPoint's open decks, one "saved<TAB>full name" line each.
extern const char* const kOpenDecksScript;

// The decks open in PowerPoint, asked through osascript (`program` stands in
// for it in tests). Empty when PowerPoint is not running, or when the script
// cannot run, fails or answers with text that is not UTF-8.
std::vector<OpenDeck> openDecks(const std::filesystem::path& program = "/usr/bin/osascript");
// The script's answer, line by line; lines without exactly one tab are skipped.
std::vector<OpenDeck> parse(const std::string& output);

// The unsaved decks other than the one being exported.
std::vector<OpenDeck> decksNeedingAttention(const std::vector<OpenDeck>& open, const std::string& targetPath);

// The warning, modal over `window`; true when the user chose to go on.
bool present(std::int64_t count, QWidget* window);

}  // namespace UnsavedDecksGate

}  // namespace orvandel
