#pragma once
// Shows a file in the desktop's file manager, selected when a file manager
// can do that (org.freedesktop.FileManager1), else by opening the folder that
// holds it; says which happened, or that nothing could open the folder.
#include <filesystem>
#include <functional>

#include "DesktopOpener.hpp"

namespace orvandel::FileManagerReveal {

enum class Outcome { selected, folderOpened, nothingOpened };

// `done` runs once, on the GUI thread, possibly after reveal has returned.
void reveal(const std::filesystem::path& file, const DesktopOpener& desktop, const std::function<void(Outcome)>& done);

}  // namespace orvandel::FileManagerReveal
