#pragma once
// A TCP server on 127.0.0.1, on a port the system picks, that counts the
// connections made to it (answering each with an HTTP 404 and closing it),
// for tests that prove nothing was fetched. It runs on a thread of its own
// and stops when destroyed or, at the latest, when its lifetime is over.
#include <atomic>
#include <chrono>
#include <string>
#include <thread>

namespace orvandel::test {

class LoopbackServer {
public:
    explicit LoopbackServer(std::chrono::seconds lifetime = std::chrono::minutes(30));
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    int port() const { return port_; }
    int connections() const { return connections_.load(); }
    // scheme://127.0.0.1:port/path
    std::string url(const std::string& scheme, const std::string& path) const;

private:
    int listening_ = -1;
    int port_ = 0;
    std::atomic<int> connections_{0};
    std::atomic<bool> stopping_{false};
    std::thread thread_;
};

}  // namespace orvandel::test
