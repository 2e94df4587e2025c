#pragma once
// A file built into the program (cmake/EmbedFiles.cmake): its name and bytes.
#include <string_view>

namespace orvandel {

struct EmbeddedFile {
    std::string_view name;
    std::string_view bytes;
};

}  // namespace orvandel
