#pragma once

#include "gateway/support/FakeMachine.h"
#include "gateway/support/Gateway.h"

#include <gtest/gtest.h>

namespace zelvo::service {

/// A gateway with one machine that is linked and connected.
struct Connected {
    explicit Connected(std::function<void(Settings&)> const& change = [](Settings&) {})
        : gateway(change), linked(gateway.link()), machine(thread, gateway.port(), linked.token)
    {
        EXPECT_EQ(machine.status(), 101);
    }

    /// Where the connection's commands are posted to.
    std::string path() const { return "/v1/connections/" + linked.connectionId + "/commands"; }
    Answer post(std::string const& body) const { return gateway.platform("POST", path(), body); }

    Gateway gateway;
    LinkedMachine linked;
    MachineThread thread;
    FakeMachine machine;
};

} // namespace zelvo::service
