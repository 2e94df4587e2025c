#pragma once
// A TCP server on 127.0.0.1, on a port the system picks, that counts the
// connections made to it and closes each at once, for tests that prove
// nothing was fetched. It runs on a thread that stops when it is destroyed.
#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>

namespace orvandel::test {

class LoopbackServer {
public:
    LoopbackServer() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        const auto a = reinterpret_cast<sockaddr*>(&address);
        if (listening_ < 0 || ::bind(listening_, a, size) != 0 || ::listen(listening_, 64) != 0 ||
            ::getsockname(listening_, a, &size) != 0) {
            throw std::runtime_error("loopback server: cannot listen on 127.0.0.1");
        }
        port_ = ntohs(address.sin_port);
        thread_ = std::thread([this] {
            while (!stopping_) {
                pollfd waiting{listening_, POLLIN, 0};
                const int client = ::poll(&waiting, 1, 100) > 0 ? ::accept4(listening_, nullptr, nullptr, SOCK_CLOEXEC)
                                                                : -1;
                if (client < 0) continue;
                ++connections_;
                ::close(client);
            }
        });
    }
    ~LoopbackServer() {
        stopping_ = true;
        thread_.join();
        ::close(listening_);
    }
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    int port() const { return port_; }
    int connections() const { return connections_.load(); }
    // scheme://127.0.0.1:port/path
    std::string url(const std::string& scheme, const std::string& path) const {
        return scheme + "://127.0.0.1:" + std::to_string(port_) + "/" + path;
    }

private:
    int listening_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    int port_ = 0;
    std::atomic<int> connections_{0};
    std::atomic<bool> stopping_{false};
    std::thread thread_;
};

}  // namespace orvandel::test
