#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "base/Clock.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo::service {

/// What is called from the serving loop, and so only while that runs. Empty functions are not called.
struct ServingWatch {
    std::function<void()> begins = {}; ///< once, when requests are answered
    std::function<void()> beats = {};  ///< every `period` from then on, by real time
    Duration period = {};              ///< 0 for no beats
};

/// The whole gateway: puts its parts together and runs them. Everything runs on the one thread that calls
/// run(); workers do what takes long, such as large texts and files.
class Server {
public:
    /// Opens the store and listens. Throws std::runtime_error with a text for the person who started the
    /// program.
    /// clock   what agents and queues go by; it must outlive the server. Null for the server's own.
    explicit Server(Settings wanted, Clock* clock = nullptr);
    ~Server();

    std::uint16_t port() const;
    /// Where a browser reaches it: the public URL, or "http://127.0.0.1:8737", with "https:" if there is TLS.
    std::string address() const;
    std::string newConsoleLink();
    /// "http://127.0.0.1:8738/metrics"; empty if metrics are off.
    std::string metricsAddress() const;

    /// Serves until stop(); returns once every connection has ended.
    void run(ServingWatch watch = {});
    /// Takes from other settings what a running gateway can take, the API key that the data folder holds now,
    /// and the certificate and key in their files. What can't be taken stays as it is, and `done` gets a line
    /// about it, on the serving thread; it is not called any more once the gateway stops. From any thread.
    /// next   nullopt leaves the settings as they are
    void reload(std::optional<Settings> next, std::function<void(std::vector<std::string> problems)> done);
    /// Lets run() return once everything that was accepted is answered, or after Settings::stopTimeout. New
    /// requests are refused meanwhile. Then every connection ends, those of machines with close code 1012.
    /// From any thread.
    void stop();
    /// The same without waiting for anything. From any thread, also after stop().
    void stopNow();

private:
    class Parts;
    std::unique_ptr<Parts> parts;
};

} // namespace zelvo::service
