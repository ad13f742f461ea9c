#pragma once

#include "app/AgentRecording.h"
#include "base/Contexts.h"
#include "drivers/PostingGate.h"
#include "gateway/GatewayClient.h"
#include "gateway/HeartbeatBuilder.h"
#include "gateway/Keychain.h"
#include "platform/Platform.h"
#include "router/RpcRouter.h"
#include "state/AgentState.h"
#include "state/QueuePolicy.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace zelvo {

/// Runs the link: connects the client with the router, carries the person's decisions out to the gateway,
/// keeps the machine awake when asked and reacts to wake and network. Thread: main. Lives as long as the
/// process.
class AgentRuntime {
public:
    struct Services {
        Contexts contexts;
        Platform& platform;
        AgentState& state;
        HeartbeatBuilder& heartbeat;
        Keychain& keychain;
        PostingGate& gate;
        AgentRecording& recording;
        std::function<std::unique_ptr<RpcRouter>()> makeRouter; ///< called once, when the mode is known
        std::function<bool()> isLinking; ///< is an offer open? Its token is kept before the person decides
        std::function<double()> jitter = GatewayClient::randomJitter;
    };

    explicit AgentRuntime(Services services);
    AgentRuntime(AgentRuntime const&) = delete;
    AgentRuntime& operator=(AgentRuntime const&) = delete;

    /// Builds and connects everything. Called once.
    void start();
    /// Connects when a machine token is stored, else reports notLinked. Safe to repeat: a running client
    /// takes the token and opens a fresh socket.
    void connectIfLinked();
    /// Asks for an attempt at once.
    void reconnectNow();
    /// Drops the link: stops the client, forgets token and connections, opens the console for a new one.
    void relink();
    /// Asks the gateway to pause or resume one live agent; its answer is the next "agents.update".
    void setAgentPaused(std::string ref, bool paused);
    /// Tells the gateway what was decided on queued commands.
    void sendQueueDecision(std::string connectionId, QueueDecision const& decision);

    std::string gatewayUrl() const;
    std::string consoleUrl() const;
    /// The HTTP form of the gateway's address.
    std::string httpBase() const;
    SessionRecording& recording() { return services.recording.recorder(); }
    bool holdsSleepAssertion() const { return sleepAssertion != nullptr; }

    /// Asks running commands to end, lets no recording begin any more and ends the link, at the process's
    /// end; resumes once the close is sent.
    Task<> shutDown();

private:
    /// The machine token, read once more when the key ring came up meanwhile and there was none.
    Task<std::optional<std::string>> storedToken();
    void buildClient();
    void onPauseChanged(bool paused);
    void updateSleepAssertion();
    void watchNetwork();
    void watchSession();
    void watchSecrets();
    void watchAccessibility();
    Task<> logUnreadable(std::int32_t pid);
    void sendEvent(std::string name, std::optional<std::string> connectionId, json::object data);

    Services services;
    std::unique_ptr<RpcRouter> router;
    std::shared_ptr<GatewayClient> client;
    std::unique_ptr<PowerAssertion> sleepAssertion;
    std::uint64_t relinks = 0;     // A token that was asked for before the last of them is no longer ours.
    std::weak_ptr<int> connecting; // main; lives while a token is read and handed to the client
    bool readAgain = false;        // main
};

} // namespace zelvo
