#include "tools/EotUnpacker.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>

extern "C" {
#include <libeot/libeot.h>
}

namespace orvandel::EotUnpacker {

namespace {

bool writeAll(int fd, const void* data, std::size_t size) {
    const auto* p = static_cast<const std::uint8_t*>(data);
    while (size > 0) {
        const ssize_t w = ::write(fd, p, size);
        if (w < 0 && errno == EINTR) continue;
        if (w <= 0) return false;
        p += w;
        size -= static_cast<std::size_t>(w);
    }
    return true;
}

// The child: libeot's status, the font's size, the font; then gone.
[[noreturn]] void unpackInChild(const Bytes& container, int out) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (int s : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) std::signal(s, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
    const int devNull = ::open("/dev/null", O_WRONLY);
    if (devNull >= 0) ::dup2(devNull, 2);  // a sanitizer's report of libeot's crash is not ours to print
    EOTMetadata metadata{};
    std::uint8_t* font = nullptr;
    unsigned size = 0;
    const std::int32_t status = EOT2ttf_buffer(container.data(), static_cast<unsigned>(container.size()), &metadata,
                                               &font, &size);
    const std::uint64_t length = font ? size : 0;
    const bool sent = writeAll(out, &status, sizeof status) && writeAll(out, &length, sizeof length) &&
                      (length == 0 || writeAll(out, font, length));
    ::_exit(sent ? 0 : 1);
}

}  // namespace

Unpacked unpack(const Bytes& container, std::size_t most, std::chrono::milliseconds timeout) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return {std::nullopt, std::strerror(errno)};
    // No handler of ours may run in the child before it has reset them.
    sigset_t all, old;
    sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &old);
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(ends[0]);
        unpackInChild(container, ends[1]);
    }
    const int forkError = errno;
    ::pthread_sigmask(SIG_SETMASK, &old, nullptr);
    ::close(ends[1]);
    if (pid < 0) {
        ::close(ends[0]);
        return {std::nullopt, std::strerror(forkError)};
    }

    // Status (4 bytes), length (8), font: read up to `most` bytes of font.
    Bytes received;
    const std::size_t limit = 12 + most + 1;
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    bool timedOut = false;
    std::uint8_t chunk[65536];
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline -
                                                                                std::chrono::steady_clock::now());
        pollfd p{ends[0], POLLIN, 0};
        if (left.count() <= 0 || ::poll(&p, 1, static_cast<int>(left.count())) == 0) {
            timedOut = true;
            break;
        }
        const ssize_t r = ::read(ends[0], chunk, sizeof chunk);
        if (r < 0 && errno == EINTR) continue;
        if (r <= 0) break;
        received.insert(received.end(), chunk, chunk + r);
        if (received.size() >= limit) break;
    }
    ::close(ends[0]);
    ::kill(pid, SIGKILL);  // done with it, whatever it was doing
    int wstatus = 0;
    while (::waitpid(pid, &wstatus, 0) < 0 && errno == EINTR) {
    }

    if (timedOut) return {std::nullopt, "libeot did not finish within " + std::to_string(timeout.count()) + " ms"};
    if (received.size() >= limit) return {std::nullopt, "it unpacks to more than " + std::to_string(most) + " bytes"};
    std::int32_t status = 0;
    std::uint64_t length = 0;
    if (received.size() < 12) return {std::nullopt, "libeot crashed on it"};
    std::memcpy(&status, received.data(), sizeof status);
    std::memcpy(&length, received.data() + 4, sizeof length);
    if (status != EOT_SUCCESS && status < EOT_WARN) {
        return {std::nullopt, "libeot error " + std::to_string(status)};
    }
    if (received.size() != 12 + length) return {std::nullopt, "libeot crashed on it"};
    return {Bytes(received.begin() + 12, received.end()), ""};
}

}  // namespace orvandel::EotUnpacker
