#pragma once

#include "base/SleepQueue.h"
#include "base/Task.h"
#include "confirm/ConfirmationDecision.h"
#include "confirm/Confirming.h"
#include "wire/AgentError.h"

#include <boost/asio/use_awaitable.hpp>

#include <functional>
#include <optional>
#include <vector>

namespace zelvo {

/// Records the questions. Answers at once with `decision`; if that is empty, when answer() is called.
class FakeConfirming final : public Confirming {
public:
    struct Question {
        ConfirmationSubject subject;
        std::string platformName;
        std::int64_t timeoutMs = 0;
        bool operator==(Question const&) const = default;
    };

    std::vector<Question> questions;
    std::optional<ConfirmationDecision> decision = ConfirmationDecision::allowed(false);
    std::function<void()> onAsk; ///< called after the question is recorded and before it is answered
    int open = 0;                ///< unanswered questions

    Task<> confirm(ConfirmationSubject subject, std::string platformName, std::int64_t timeoutMs) override
    {
        questions.push_back({std::move(subject), std::move(platformName), timeoutMs});
        if (onAsk)
            onAsk();
        ++open;
        while (!decision)
            co_await answered.wait(Instant::max(), asio::use_awaitable);
        --open;
        if (decision->kind == ConfirmationDecision::Kind::denied)
            throw AgentError::deniedByUser;
        if (decision->kind == ConfirmationDecision::Kind::timedOut)
            throw AgentError::confirmationTimeout;
    }

    /// Answers all open and all later questions.
    void answer(ConfirmationDecision made)
    {
        decision = made;
        answered.wakeDue(Instant::max());
    }

private:
    SleepQueue answered;
};

} // namespace zelvo
