#pragma once
// Shows a file in the desktop's file manager, selected when the file manager
// can do that (org.freedesktop.FileManager1.ShowItems over D-Bus), else by
// opening the folder that holds it.
#include <filesystem>

namespace orvandel::FileManagerReveal {

void reveal(const std::filesystem::path& file);

}  // namespace orvandel::FileManagerReveal
