#pragma once
// Which renderer makes the movie, the same for the command line and the app:
// `automatic` means PowerPoint for Mac where it is installed, the headless
// renderer everywhere else.
#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>

#include "render/Mp4Exporting.hpp"

namespace orvandel::RendererChoice {

enum class Renderer { automatic, headless, powerPoint };

// "auto", "libreoffice", "powerpoint"; nothing for any other name.
std::optional<Renderer> fromName(std::string_view name);

// The renderer `automatic` stands for on this machine; the others as they are.
Renderer resolve(Renderer requested);

// deck: the deck to be exported, whose relative links to media outside it
// point from its folder (the headless renderer plays them); empty: from the
// prepared copy's folder. drawEffects: the headless movie draws animations
// and the deck's slide transitions over their durations (false: cuts).
std::unique_ptr<Mp4Exporting> make(Renderer requested, const std::filesystem::path& deck = {},
                                   bool drawEffects = true);

}  // namespace orvandel::RendererChoice
