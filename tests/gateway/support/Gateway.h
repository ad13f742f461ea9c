#pragma once

#include "ZelvoGateway/Server.h"
#include "gateway/support/Becomes.h"
#include "gateway/support/HttpClient.h"
#include "gateway/support/SteppedClock.h"
#include "unit/system/TemporaryFolder.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <thread>

namespace zelvo::service {

/// A machine that has been linked.
struct LinkedMachine {
    std::string machineId;
    std::string token;
    std::string connectionId;
};

/// A gateway on a free port that runs on a separate thread until the end of the test.
class Gateway {
public:
    explicit Gateway(std::function<void(Settings&)> const& change = [](Settings&) {});
    Gateway(Gateway const&) = delete;
    Gateway& operator=(Gateway const&) = delete;
    ~Gateway();

    std::uint16_t port() const { return server->port(); }
    std::filesystem::path data() const { return folder.path / "data"; }
    std::string readFile(std::string const& name) const;
    std::string apiKey() const;
    Server& running() { return *server; }
    /// The clock of the gateway's agents and queues; it survives stop() and start().
    SteppedClock clock;
    /// Waits until what is open is answered; the clock stands still meanwhile.
    void stop();
    /// Without waiting for that.
    void stopNow();
    void start();
    /// Other settings from the next start() on.
    void change(std::function<void(Settings&)> const& how) { how(settings); }

    /// As a platform, with the API key.
    Answer platform(std::string const& method,
                    std::string const& target,
                    std::string const& body = {},
                    Headers headers = {}) const;
    /// As anybody.
    Answer call(std::string const& method,
                std::string const& target,
                std::string const& body = {},
                Headers headers = {}) const;
    Answer command(std::string const& connectionId,
                   std::string const& method,
                   std::string const& params = "{}") const;

    /// A further connection of a linked machine, made as its person would make it.
    std::string connect(LinkedMachine const& linked) const;
    /// The one-time token of a new link.
    std::string newLink(std::string const& scopes = R"(["screen","input"])",
                        std::string const& endUserId = "ada") const;
    Answer resolve(std::string const& link,
                   std::string const& machineToken = {},
                   std::string const& version = "0.1.0") const;
    Answer complete(std::string const& link,
                    std::string const& machineToken,
                    std::string const& scopes = R"(["screen"])") const;
    LinkedMachine link() const;
    /// The header of a page of the console, as a browser that opened a console link has it.
    std::pair<std::string, std::string> consoleSession();
    /// Exchanges the code of a console link as the page behind it does. origin: that of the page
    Answer enter(std::string const& link, std::string const& origin) const;
    std::string origin() const { return "http://127.0.0.1:" + std::to_string(port()); }

private:
    TemporaryFolder folder;
    Settings settings;
    std::unique_ptr<Server> server;
    std::thread thread;
};

} // namespace zelvo::service
