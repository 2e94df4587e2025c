#include "base/Bytes.hpp"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/Error.hpp"

namespace orvandel {

Bytes toBytes(std::string_view text) { return Bytes(text.begin(), text.end()); }

std::string toString(const Bytes& bytes) { return std::string(bytes.begin(), bytes.end()); }

namespace {

// The length of the well-formed UTF-8 sequence at s[i] (no overlongs, no
// surrogates, <= U+10FFFF), or 0 when the bytes there are not one.
std::size_t sequenceAt(std::string_view text, std::size_t i) {
    const auto* s = reinterpret_cast<const unsigned char*>(text.data());
    const std::size_t n = text.size();
    const unsigned char c = s[i];
    if (c < 0x80) return 1;
    std::size_t len;
    std::uint32_t cp;
    if (c >= 0xC2 && c <= 0xDF) {
        len = 2;
        cp = c & 0x1F;
    } else if (c >= 0xE0 && c <= 0xEF) {
        len = 3;
        cp = c & 0x0F;
    } else if (c >= 0xF0 && c <= 0xF4) {
        len = 4;
        cp = c & 0x07;
    } else {
        return 0;
    }
    if (n - i < len) return 0;
    for (std::size_t k = 1; k < len; ++k) {
        if ((s[i + k] & 0xC0) != 0x80) return 0;
        cp = (cp << 6) | (s[i + k] & 0x3F);
    }
    if ((len == 3 && (cp < 0x800 || (cp >= 0xD800 && cp <= 0xDFFF))) || (len == 4 && (cp < 0x10000 || cp > 0x10FFFF))) {
        return 0;
    }
    return len;
}

}  // namespace

bool isValidUtf8(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t len = sequenceAt(text, i);
        if (len == 0) return false;
        i += len;
    }
    return true;
}

std::string repairedUtf8(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        if (const std::size_t len = sequenceAt(text, i)) {
            out.append(text.substr(i, len));
            i += len;
        } else {
            out.append("\xEF\xBF\xBD");  // U+FFFD for each byte that starts no character
            ++i;
        }
    }
    return out;
}

std::size_t lineBreakAt(std::string_view text, std::size_t at) {
    const std::string_view rest = text.substr(at);
    if (rest.starts_with("\r\n")) return 2;
    if (rest.empty()) return 0;
    if (rest[0] >= '\n' && rest[0] <= '\r') return 1;
    if (rest.starts_with("\xC2\x85")) return 2;
    if (rest.starts_with("\xE2\x80\xA8") || rest.starts_with("\xE2\x80\xA9")) return 3;
    return 0;
}

std::string asciiLowercased(std::string_view text) {
    std::string out(text);
    for (char& c : out) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return out;
}

namespace {

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

std::string percentDecoded(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size() && hexDigit(text[i + 1]) >= 0 && hexDigit(text[i + 2]) >= 0) {
            out += static_cast<char>(hexDigit(text[i + 1]) * 16 + hexDigit(text[i + 2]));
            i += 2;
        } else {
            out += text[i];
        }
    }
    return out;
}

std::string_view utf8Prefix(std::string_view text, std::size_t maxBytes) {
    if (text.size() <= maxBytes) return text;
    std::size_t end = maxBytes;
    // Back to the first byte of the sequence the cut falls in, unless it falls between two.
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    return text.substr(0, end);
}

namespace {

struct Fd {
    int fd;
    ~Fd() {
        if (fd >= 0) ::close(fd);
    }
};

void writeAll(const std::filesystem::path& path, const std::uint8_t* data, std::size_t size) {
    Fd f{::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)};
    if (f.fd < 0) throw FileError("open for writing", path.string(), errno);
    std::size_t done = 0;
    while (done < size) {
        const ssize_t w = ::write(f.fd, data + done, size - done);
        if (w < 0) {
            if (errno == EINTR) continue;
            throw FileError("write", path.string(), errno);
        }
        done += static_cast<std::size_t>(w);
    }
    const int fd = f.fd;
    f.fd = -1;
    if (::close(fd) != 0) throw FileError("write", path.string(), errno);
}

}  // namespace

Bytes readFile(const std::filesystem::path& path) {
    Fd f{::open(path.c_str(), O_RDONLY | O_CLOEXEC)};
    if (f.fd < 0) throw FileError("open", path.string(), errno);
    struct stat st {};
    if (::fstat(f.fd, &st) != 0) throw FileError("read", path.string(), errno);
    if (S_ISDIR(st.st_mode)) throw FileError("read", path.string(), EISDIR);
    Bytes out;
    if (st.st_size > 0) out.reserve(static_cast<std::size_t>(st.st_size));
    std::uint8_t buf[1 << 16];
    for (;;) {
        const ssize_t r = ::read(f.fd, buf, sizeof buf);
        if (r < 0) {
            if (errno == EINTR) continue;
            throw FileError("read", path.string(), errno);
        }
        if (r == 0) break;
        out.insert(out.end(), buf, buf + r);
    }
    return out;
}

void writeFile(const std::filesystem::path& path, const Bytes& bytes) { writeAll(path, bytes.data(), bytes.size()); }

void writeFile(const std::filesystem::path& path, std::string_view text) {
    writeAll(path, reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
}

}  // namespace orvandel
