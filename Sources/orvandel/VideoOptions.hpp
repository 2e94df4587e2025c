#pragma once
// The choices of a video export on the command line: --resolution, --fps
// and --quality, read into a VideoSettings.
#include <CLI/CLI.hpp>

#include "render/VideoSettings.hpp"

namespace orvandel::cli {

// Adds the three options to `command`; what they say lands in `settings`
// (which must outlive the parse), the defaults where they are not given.
// Other values are refused with the accepted ones listed.
void addVideoOptions(CLI::App& command, VideoSettings& settings);

}  // namespace orvandel::cli
