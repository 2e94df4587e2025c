#include "LoopbackServer.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

namespace orvandel::test {

LoopbackServer::LoopbackServer(std::chrono::seconds lifetime) {
    listening_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (listening_ < 0 || ::bind(listening_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listening_, 64) != 0 ||
        ::getsockname(listening_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        throw std::runtime_error("loopback server: cannot listen on 127.0.0.1 (errno " + std::to_string(errno) + ")");
    }
    port_ = ntohs(address.sin_port);
    const auto deadline = std::chrono::steady_clock::now() + lifetime;
    thread_ = std::thread([this, deadline] {
        while (!stopping_ && std::chrono::steady_clock::now() < deadline) {
            pollfd waiting{listening_, POLLIN, 0};
            if (::poll(&waiting, 1, 100) <= 0) continue;
            const int client = ::accept4(listening_, nullptr, nullptr, SOCK_CLOEXEC);
            if (client < 0) continue;
            ++connections_;
            pollfd request{client, POLLIN, 0};
            char buffer[4096];
            if (::poll(&request, 1, 500) > 0) (void)!::read(client, buffer, sizeof buffer);
            static const char kAnswer[] = "HTTP/1.0 404 Not Found\r\nContent-Length: 0\r\n\r\n";
            (void)!::send(client, kAnswer, sizeof kAnswer - 1, MSG_NOSIGNAL);
            ::close(client);
        }
    });
}

LoopbackServer::~LoopbackServer() {
    stopping_ = true;
    if (thread_.joinable()) thread_.join();
    if (listening_ >= 0) ::close(listening_);
}

std::string LoopbackServer::url(const std::string& scheme, const std::string& path) const {
    return scheme + "://127.0.0.1:" + std::to_string(port_) + "/" + path;
}

}  // namespace orvandel::test
