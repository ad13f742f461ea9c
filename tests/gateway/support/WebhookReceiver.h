#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace zelvo::service {

/// A platform's server on a loopback address that takes webhooks. Thread: any.
class WebhookReceiver {
public:
    struct Received {
        std::map<std::string, std::string> headers; ///< names in lower case
        std::string body;
    };
    /// Sends what it likes to a socket, after the request was read.
    using Answer = std::function<void(int socket)>;

    /// Answers with 200.
    WebhookReceiver();
    explicit WebhookReceiver(Answer answer);
    WebhookReceiver(WebhookReceiver const&) = delete;
    WebhookReceiver& operator=(WebhookReceiver const&) = delete;
    ~WebhookReceiver();

    static Answer withStatus(int status, std::string const& more = "");
    static bool sendAll(int socket, std::string const& text);

    std::string url(std::string const& path = "/hook") const;
    std::uint16_t port() const { return boundPort; }
    std::vector<Received> received() const;
    void answerWith(Answer next);

private:
    void acceptAll();
    void serve(int socket);

    int listening = -1;
    std::uint16_t boundPort = 0;
    mutable std::mutex lock;
    Answer answer;             // lock
    std::vector<Received> all; // lock
    std::vector<int> sockets;  // lock
    std::vector<std::thread> threads;
    std::thread accepting;
};

} // namespace zelvo::service
