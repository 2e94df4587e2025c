#include "UnsavedDecksGate.hpp"

#include <QMessageBox>
#include <QPushButton>

#include <sstream>

#include "AlertBox.hpp"
#include "ExportCopy.hpp"
#include "base/Bytes.hpp"
#include "base/Error.hpp"
#include "base/Subprocess.hpp"

namespace orvandel::UnsavedDecksGate {

// The accumulator is not called "out": inside PowerPoint's tell block that
// word belongs to PowerPoint's dictionary and setting it fails (-10003).
const char* const kOpenDecksScript = R"(if application "Microsoft PowerPoint" is running then
	with timeout of 10 seconds
		tell application "Microsoft PowerPoint"
			set acc to ""
			repeat with p in (get every presentation)
				set sv to (saved of p) as string
				try
					set fn to (full name of p)
				on error
					set fn to ""
				end try
				set acc to acc & sv & tab & fn & linefeed
			end repeat
			return acc
		end tell
	end timeout
else
	return ""
end if)";

std::vector<OpenDeck> parse(const std::string& output) {
    std::vector<OpenDeck> decks;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        const auto tab = line.find('\t');
        if (line.empty() || tab == std::string::npos) continue;
        decks.push_back(OpenDeck{line.substr(tab + 1), line.compare(0, tab, "true") == 0});
    }
    return decks;
}

std::vector<OpenDeck> openDecks(const std::filesystem::path& program) {
    try {
        // The script gives up after 10 seconds; the limit here only covers an osascript that hangs by itself.
        const auto result = Subprocess::run({program.string(), "-e", kOpenDecksScript},
                                            {.timeout = std::chrono::seconds(15)});
        if (!result.succeeded() || !isValidUtf8(result.standardOutput)) return {};
        return parse(result.standardOutput);
    } catch (const Error&) {
        return {};
    }
}

std::vector<OpenDeck> decksNeedingAttention(const std::vector<OpenDeck>& open, const std::string& targetPath) {
    std::vector<OpenDeck> unsaved;
    for (const auto& deck : open) {
        if (!deck.saved && deck.fullName != targetPath) unsaved.push_back(deck);
    }
    return unsaved;
}

bool present(std::int64_t count, QWidget* window) {
    QMessageBox* box = AlertBox::make(window, true, ExportCopy::kUnsavedDecksTitle,
                                      ExportCopy::unsavedDecksText(count));
    box->setAttribute(Qt::WA_DeleteOnClose, false);
    auto* cancel = box->addButton(ExportCopy::kCancel, QMessageBox::RejectRole);
    box->addButton(ExportCopy::kContinueAnyway, QMessageBox::AcceptRole);
    // Return keeps the user's unsaved work: going on takes a deliberate click.
    box->setDefaultButton(cancel);
    box->setEscapeButton(cancel);
    box->exec();
    const bool goOn = box->clickedButton() != nullptr && box->clickedButton() != cancel;
    delete box;
    return goOn;
}

}  // namespace orvandel::UnsavedDecksGate
