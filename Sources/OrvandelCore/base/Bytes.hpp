#pragma once
// One byte-buffer type for the whole code base, and the whole-file helpers
// built on it. Files are read and written with plain POSIX calls so that a
// failure carries errno into a FileError.
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace orvandel {

using Bytes = std::vector<std::uint8_t>;

Bytes toBytes(std::string_view text);
std::string toString(const Bytes& bytes);

// Whether the bytes are well-formed UTF-8 (no overlongs, no surrogates, <= U+10FFFF).
bool isValidUtf8(std::string_view text);
// The text with every byte that starts no well-formed character replaced by
// U+FFFD, so that the readable rest survives.
std::string repairedUtf8(std::string_view text);

// The length of the line break that starts at text[at]: 2 for CR LF, else the
// length of a line terminator as Unicode names them (LF, VT, FF, CR, NEL,
// U+2028 LINE SEPARATOR, U+2029 PARAGRAPH SEPARATOR); 0 when none starts there.
std::size_t lineBreakAt(std::string_view text, std::size_t at);

// The text with A-Z made a-z and every other byte as it is: for names that
// are compared without case (schemes, extensions, tags), never the locale's.
std::string asciiLowercased(std::string_view text);

// %XX sequences (either case of hex digit) made the bytes they stand for; a
// "%" that starts none stays as it is.
std::string percentDecoded(std::string_view text);

// The longest start of `text` of at most maxBytes bytes that does not end
// inside a UTF-8 sequence.
std::string_view utf8Prefix(std::string_view text, std::size_t maxBytes);

// Reads a whole file. Throws FileError.
Bytes readFile(const std::filesystem::path& path);
// Writes (creating or truncating) a whole file in one go. Throws FileError.
void writeFile(const std::filesystem::path& path, const Bytes& bytes);
void writeFile(const std::filesystem::path& path, std::string_view text);

}  // namespace orvandel
