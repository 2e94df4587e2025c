// The in-process entry reader on an arbitrary file: every entry the
// directory names is read, as text and as bytes (CRC, inflate, bounds).
#include <cstddef>
#include <cstdint>

#include "FuzzInput.hpp"
#include "container/PptxArchive.hpp"
#include "container/ZipArchive.hpp"

using namespace orvandel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::MemoryFile file(data, size);
    if (!file.ok()) return 0;
    std::vector<std::string> names{"ppt/presentation.xml"};
    try {
        for (auto& e : ZipArchive::parse(std::span<const std::uint8_t>(data, size)).entries) {
            names.push_back(std::move(e.name));
        }
    } catch (const Error&) {
    }
    PptxArchive::Deck deck(file.path());
    for (const auto& name : names) {
        try {
            (void)deck.readEntry(name);
        } catch (const Error&) {
        }
        try {
            (void)deck.readEntryBytes(name);
        } catch (const Error&) {
        }
    }
    return 0;
}
