#include "StandardOutput.hpp"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

namespace orvandel::cli {

StandardOutputError::StandardOutputError(int errnoValue)
    : Error("could not write to standard output", std::strerror(errnoValue), errnoValue) {}

class StandardOutput::Buffer : public std::streambuf {
public:
    Buffer() : space_(std::size_t(64) << 10) { setp(space_.data(), space_.data() + space_.size()); }

    // The errno of the first write that failed; 0 while none has.
    int failure() const { return failure_; }

protected:
    int_type overflow(int_type c) override {
        if (!drain()) return traits_type::eof();
        if (!traits_type::eq_int_type(c, traits_type::eof())) {
            *pptr() = traits_type::to_char_type(c);
            pbump(1);
        }
        return traits_type::not_eof(c);
    }
    int sync() override { return drain() ? 0 : -1; }

private:
    // Writes out the buffer; after a failure everything is dropped.
    bool drain() {
        const char* from = pbase();
        while (failure_ == 0 && from < pptr()) {
            const ssize_t written = ::write(STDOUT_FILENO, from, static_cast<std::size_t>(pptr() - from));
            if (written > 0) {
                from += written;
            } else if (written == 0) {
                failure_ = EIO;  // no progress: never loop on it
            } else if (errno != EINTR) {
                failure_ = errno;
            }
        }
        setp(space_.data(), space_.data() + space_.size());
        return failure_ == 0;
    }

    std::vector<char> space_;
    int failure_ = 0;
};

StandardOutput::StandardOutput() : buffer_(std::make_unique<Buffer>()), stream_(buffer_.get()) {}

// What is left goes out even when finish() was never reached (an exception).
StandardOutput::~StandardOutput() { buffer_->pubsync(); }

void StandardOutput::finish() {
    buffer_->pubsync();
    if (buffer_->failure() != 0) throw StandardOutputError(buffer_->failure());
}

}  // namespace orvandel::cli
