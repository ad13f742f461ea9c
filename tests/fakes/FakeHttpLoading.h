#pragma once

#include "base/WakeList.h"
#include "platform/HttpLoading.h"

#include <deque>
#include <optional>
#include <variant>
#include <vector>

namespace zelvo {

/// Answers calls with what a test prepared, in order; a call without an answer waits for one.
class FakeHttpLoading final : public HttpLoading {
public:
    std::vector<HttpRequest> requests;
    int endings = 0; ///< calls of endCalls(), which leaves the answers to the test

    void answer(int status, std::string body)
    {
        arrivals.wakeAll([&] { answers.emplace_back(HttpResponse{status, std::move(body)}); });
    }
    void fail(NetworkFailure::Kind kind, std::string description = "failed")
    {
        arrivals.wakeAll([&] { answers.emplace_back(NetworkFailure{kind, std::move(description)}); });
    }

    Task<HttpResponse> load(HttpRequest request) override
    {
        requests.push_back(std::move(request));
        co_await arrivals.wait([this] { return !answers.empty(); });
        auto next = std::move(answers.front());
        answers.pop_front();
        if (auto const* const failure = std::get_if<NetworkFailure>(&next))
            throw *failure;
        co_return std::get<HttpResponse>(std::move(next));
    }

    void endCalls() override { ++endings; }

private:
    WakeList arrivals;
    std::deque<std::variant<HttpResponse, NetworkFailure>> answers;
};

} // namespace zelvo
