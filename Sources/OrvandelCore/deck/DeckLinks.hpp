#pragma once
// The one rule for the files a deck links to instead of holding them. A deck
// is untrusted input: what one of its relationships names is read only when
// it is a regular file inside the deck's own folder tree, once every symbolic
// link on the way has been followed. Nothing on a network is ever fetched,
// and a device, FIFO or socket is never opened, wherever it lies. The user
// may lift the folder rule for local files (Rule::allowOutside), never the
// others.
//
// classify is pure; check looks at the file system without opening anything;
// read and copy open only a file check allowed, without blocking, and take it
// only when what they opened is that same regular file.
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/Bytes.hpp"
#include "base/Warning.hpp"

namespace orvandel::DeckLinks {

// Why a link was not followed.
enum class Refusal {
    networkLink,     // a URL of any scheme but file, a UNC path, a file URL that names a host
    outsideFolder,   // a local file outside the deck's folder tree
    notRegularFile,  // a folder, device, FIFO or socket
    missing,         // nothing there, or a name no file can have
    unreadable,      // there, but it could not be opened or read
    tooLarge,        // more bytes than the reader takes
};

// The end of the sentence that names the link, in the voice of the export's
// warnings: "is outside the deck's folder and was not read".
std::string_view reason(Refusal refusal);

// What a relationship's target names, as written in the deck.
struct Target {
    bool network = false;
    std::filesystem::path file;  // a local file: absolute, lexically normal
    bool operator==(const Target&) const = default;
};

// Pure. A network link is a URL of any scheme but file (a single letter
// before the colon is a drive, not a scheme), "//host/...", "\\host\...", or
// a file URL whose host is neither empty nor localhost. Anything else is a
// local file: a file URL's path, an absolute path as it is, a relative path
// from deckFolder (absolute); percent-decoded, backslashes read as slashes.
Target classify(std::string_view target, const std::filesystem::path& deckFolder);

struct Rule {
    std::filesystem::path deckFolder;  // absolute: the user's deck's folder
    bool allowOutside = false;         // local files outside it are read too
};

// The file the target leads to, as its real path (no symbolic link left in
// it), when the rule lets it be read; else why not. A path outside the
// folder (unless allowed) is refused before the file system is asked about
// it; the real path is compared with the folder's component by component.
std::variant<std::filesystem::path, Refusal> check(std::string_view target, const Rule& rule);

// The bytes of a file check allowed, when they are at most maxBytes.
std::variant<Bytes, Refusal> read(const std::filesystem::path& file, std::int64_t maxBytes);

// The same copied to `to` (created or truncated) in chunks, memory staying
// small; afterChunk (may be empty) runs after each chunk and may throw to
// stop. Nothing: copied. Throws FileError when `to` cannot be written; after
// a refusal or a throw `to` is left for the caller to remove.
std::optional<Refusal> copy(const std::filesystem::path& file, const std::filesystem::path& to, std::int64_t maxBytes,
                            const std::function<void()>& afterChunk = {});

// A link an export did not follow.
struct NotFollowed {
    std::int64_t slide = 0;  // the display number of the slide that shows it
    std::string linked;      // what it is: "picture", "video", "audio clip"
    std::string target;      // as the deck writes it
    Refusal reason = Refusal::networkLink;
    bool operator==(const NotFollowed&) const = default;
};

// One warning per slide, in slide order, however many links of the slide
// were not followed (the storyboard's copies of a slide are not slides): it
// names the first one reported and counts the others.
std::vector<Warning> warnings(const std::vector<NotFollowed>& links);

}  // namespace orvandel::DeckLinks
