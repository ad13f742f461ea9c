#pragma once

#include "base/Clock.h"
#include "base/Task.h"

#include <optional>
#include <string>

namespace zelvo {

/// Names one secret.
struct SecretName {
    std::string service;
    std::string account;
};

/// Blocking Secret Service calls that never show a prompt: a locked service counts as not answering, and so
/// does one that stays silent for `patience`. Thread: one at a time, never the agent's, which runs the clock.
class SecretServiceCalls {
public:
    static constexpr Duration patience = 2s;

    SecretServiceCalls(Executor agent, Clock& clock) : agent(std::move(agent)), clock(clock) {}

    struct Found {
        bool answered = false;
        std::optional<std::string> secret;
    };
    Found get(SecretName const& name);
    /// True if the service holds the secret now.
    bool set(SecretName const& name, std::string const& secret);
    /// True if the service holds no such secret now.
    bool remove(SecretName const& name);

private:
    Executor agent;
    Clock& clock;
};

} // namespace zelvo
