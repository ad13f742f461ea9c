#pragma once

#include "ZelvoGateway/exchange/Exchange.h"

#include <functional>
#include <string>
#include <vector>

namespace zelvo::service {

/// A holder that answers as a test wants, and remembers what it was asked.
class TestHolder final : public MachineHolder {
public:
    using Answer = std::function<Task<std::string>(std::string kind, std::string text)>;

    explicit TestHolder(Answer answering = echo()) : answering(std::move(answering)) {}

    static Answer echo()
    {
        return [](std::string kind, std::string text) -> Task<std::string> { co_return kind + " " + text; };
    }

    Task<std::string> answer(std::string kind, std::string text) override
    {
        asked.push_back(kind);
        ++running;
        struct Leaving {
            int& count;
            ~Leaving() { --count; }
        } const leaving{running};
        co_return co_await answering(std::move(kind), std::move(text));
    }
    void replaced() override { ++replacedCount; }

    std::vector<std::string> asked;
    int running = 0;
    int replacedCount = 0;

private:
    Answer answering;
};

} // namespace zelvo::service
