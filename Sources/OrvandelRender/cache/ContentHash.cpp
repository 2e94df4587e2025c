#include "cache/ContentHash.hpp"

#include <fcntl.h>
#include <openssl/evp.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <vector>

#include "base/Error.hpp"

namespace orvandel {

struct ContentHash::State {
    EVP_MD_CTX* context = nullptr;
    ~State() { EVP_MD_CTX_free(context); }
};

ContentHash::ContentHash() : state_(std::make_unique<State>()) {
    state_->context = EVP_MD_CTX_new();
    if (!state_->context || EVP_DigestInit_ex(state_->context, EVP_sha256(), nullptr) != 1) {
        throw std::runtime_error("SHA-256 is not available from OpenSSL");
    }
}

ContentHash::~ContentHash() = default;
ContentHash::ContentHash(ContentHash&&) noexcept = default;
ContentHash& ContentHash::operator=(ContentHash&&) noexcept = default;

ContentHash& ContentHash::add(std::span<const std::uint8_t> bytes) {
    if (!bytes.empty()) EVP_DigestUpdate(state_->context, bytes.data(), bytes.size());
    return *this;
}

ContentHash& ContentHash::add(std::string_view text) {
    return add(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}

ContentHash& ContentHash::field(std::string_view text) {
    field(static_cast<std::int64_t>(text.size()));
    return add(text);
}

ContentHash& ContentHash::field(std::int64_t number) {
    std::uint8_t bytes[8];
    for (int i = 0; i < 8; ++i) bytes[i] = static_cast<std::uint8_t>(static_cast<std::uint64_t>(number) >> (8 * i));
    return add(std::span(bytes, 8));
}

std::string ContentHash::hex() {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    EVP_DigestFinal_ex(state_->context, digest, &length);
    static const char* const kDigits = "0123456789abcdef";
    std::string out;
    for (unsigned int i = 0; i < length; ++i) {
        out += kDigits[digest[i] >> 4];
        out += kDigits[digest[i] & 15];
    }
    return out;
}

std::string ContentHash::of(std::string_view text) { return ContentHash().add(text).hex(); }

std::string ContentHash::ofFile(const std::filesystem::path& file) {
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) throw FileError("read", file.string(), errno);
    ContentHash hash;
    std::vector<std::uint8_t> buffer(1 << 20);
    for (;;) {
        const ssize_t n = ::read(fd, buffer.data(), buffer.size());
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            const int error = errno;
            ::close(fd);
            throw FileError("read", file.string(), error);
        }
        if (n == 0) break;
        hash.add(std::span(buffer.data(), std::size_t(n)));
    }
    ::close(fd);
    return hash.hex();
}

}  // namespace orvandel
