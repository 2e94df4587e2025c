#pragma once
// Running the renderer's helper programs: a missing program or a failing run
// becomes a RenderError that names the stage, what happened and what to do.
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "base/ExportStage.hpp"
#include "base/Subprocess.hpp"

namespace orvandel::RenderTools {

// The last non-empty line of a tool's output (its own last word on a failure).
std::string lastLine(const std::string& text);

// Runs `program args...` (found on PATH), with no network where the system
// can take it away. Throws RenderError when it is missing (naming the Debian
// package), times out or exits non-zero (with the end of its standard
// error), and CancelledError when the token was cancelled. errorLead: how
// the error's description begins (the stage in the caller's words).
SubprocessResult runTool(ExportStage stage, const std::string& errorLead, const std::string& program,
                         const std::string& debianPackage, const std::vector<std::string>& args,
                         const SubprocessOptions& options);

// The last few hundred characters of a tool's output, trimmed.
std::string tail(const std::string& text, std::size_t maxChars = 600);

// The arguments that make ffmpeg or ffprobe read `file` as a local file and
// nothing else: a name that looks like a URL or a protocol ("concat:",
// "http:") is a file name, and nothing it refers to (a playlist's entries,
// a reference movie's data) is fetched from anywhere but a local file.
// For ffmpeg they include "-i"; for ffprobe leave out the "-i".
std::vector<std::string> fileInput(const std::filesystem::path& file, bool withOption = true);

// fileInput for bytes [begin, end) of `file` (a movie stored in a package),
// read in place through the subfile protocol and the file protocol only.
std::vector<std::string> storedInput(const std::filesystem::path& file, std::int64_t begin, std::int64_t end,
                                     bool withOption = true);

// The demuxers a deck's media are read with: movies, sounds and GIFs, never a
// playlist, a concat script, an image sequence or anything else that names
// other files to read.
inline constexpr const char* kMediaFormats =
    "mov,asf,avi,matroska,mpeg,mpegts,mpegvideo,m4v,flv,ogg,wav,w64,aiff,au,caf,mp3,aac,ac3,eac3,flac,amr,wv,dv,"
    "xwma,gif";

// fileInput for a medium of the deck, read only by those demuxers.
std::vector<std::string> mediaInput(const std::filesystem::path& file, bool withOption = true);

// Runs work(0) .. work(n - 1) at once, one on the calling thread, and
// rethrows the first failure when all have ended. A failing work item should
// tell the others to stop (through a token they watch).
void inParallel(int n, const std::function<void(int)>& work);

}  // namespace orvandel::RenderTools
