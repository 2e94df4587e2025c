// A whole deck through the scanners: slide list, reports, notes.
#include <cstddef>
#include <cstdint>

#include "FuzzInput.hpp"
#include "deck/DeckScanner.hpp"
#include "deck/NotesScanner.hpp"

using namespace orvandel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::MemoryFile file(data, size);
    if (!file.ok()) return 0;
    try {
        (void)DeckScanner::report(file.path(), {{1, 4000}}, {{2, 3000}}, [](const Warning&) {});
    } catch (const Error&) {
    }
    try {
        (void)NotesScanner::notesBySlide(file.path(), [](const Warning&) {});
    } catch (const Error&) {
    }
    return 0;
}
