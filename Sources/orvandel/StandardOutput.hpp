#pragma once
// What the commands print on standard output, written through a buffer of
// its own onto file descriptor 1 with every write(2) checked: the first
// failure (a full disk, a reader that has gone, an I/O error) is kept with
// the system's reason, the stream goes bad so that the rest is not even
// formatted, and finish() reports it once the end has been flushed. Nothing
// else may write to file descriptor 1 meanwhile.
#include <memory>
#include <ostream>
#include <streambuf>

#include "base/Error.hpp"

namespace orvandel::cli {

// Standard output did not take what a command printed; cause() is the
// system's reason.
class StandardOutputError : public Error {
public:
    explicit StandardOutputError(int errnoValue);
};

class StandardOutput {
public:
    StandardOutput();
    ~StandardOutput();
    StandardOutput(const StandardOutput&) = delete;
    StandardOutput& operator=(const StandardOutput&) = delete;

    std::ostream& stream() { return stream_; }
    // Flushes what is buffered. Throws StandardOutputError for the first
    // write that failed, now or earlier.
    void finish();

private:
    class Buffer;
    std::unique_ptr<Buffer> buffer_;
    std::ostream stream_;
};

}  // namespace orvandel::cli
