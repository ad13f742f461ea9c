#pragma once

#include "ZelvoGateway/exchange/HeldMachines.h"
#include "ZelvoGateway/exchange/Observers.h"

namespace zelvo::service {

/// The exchange of a gateway that is a single process.
class LocalExchange final : public Exchange {
public:
    LocalExchange(Clock& clock, Executor server) : clock(clock), server(std::move(server)) {}

    std::unique_ptr<ExchangeEntry>
    hold(std::string machineId, std::uint64_t term, std::shared_ptr<MachineHolder> holder) override;
    Task<std::string>
    ask(std::string machineId, std::string kind, std::string text, Duration patience) override;
    /// Observers hear it after the caller has returned to the loop, as from another node.
    void publish(std::string topic, std::string text) override;
    std::unique_ptr<ExchangeEntry> observe(std::string topic, Observer observer) override;
    bool isConnected() const override { return true; }

private:
    struct State {
        HeldMachines machines;
        Observers observers;
    };
    class Entry;

    Clock& clock;
    Executor server;
    std::shared_ptr<State> state = std::make_shared<State>(); // Entries may outlive this.
};

} // namespace zelvo::service
