#pragma once
// What decides every entry of the render cache besides the deck: this
// program's own build, the programs it runs (LibreOffice, poppler, ffmpeg:
// each by its resolved file's size and time, and LibreOffice's version file)
// and the fonts LibreOffice may draw with (fontconfig's font folders and
// their times). Cheap: files and folders are looked at (only LibreOffice's
// small version file is read), never run.
#include <string>

namespace orvandel::RenderFingerprint {

// A hash of the above; the same on every call in one environment.
std::string current();

}  // namespace orvandel::RenderFingerprint
