#pragma once
// SHA-256 of bytes, as 64 lower-case hex digits: the names of the render
// cache's entries (a hash of everything that decides an entry) and the check
// of an entry's bytes. OpenSSL's, which uses the processor's SHA instructions
// where there are some.
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace orvandel {

class ContentHash {
public:
    ContentHash();
    ~ContentHash();
    ContentHash(ContentHash&&) noexcept;
    ContentHash& operator=(ContentHash&&) noexcept;

    ContentHash& add(std::span<const std::uint8_t> bytes);
    ContentHash& add(std::string_view text);
    // A field of a key: its length first, so that ("ab", "c") and ("a", "bc")
    // differ.
    ContentHash& field(std::string_view text);
    ContentHash& field(std::int64_t number);
    // The hex digest; the hash cannot be added to afterwards.
    std::string hex();

    static std::string of(std::string_view text);
    // Throws FileError when the file cannot be read.
    static std::string ofFile(const std::filesystem::path& file);

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace orvandel
