#pragma once
// What decides every entry of the render cache besides the deck: this
// program's own build, the programs it runs (LibreOffice, poppler, ffmpeg:
// each by its resolved file's size and time, and LibreOffice's version file)
// and the fonts LibreOffice may draw with (fontconfig's font folders and
// their times). Cheap: files are looked at, never read whole or run.
#include <string>

namespace orvandel::RenderFingerprint {

// A hash of the above; the same on every call in one environment.
std::string current();

}  // namespace orvandel::RenderFingerprint
