#pragma once

#include "base/AsyncCondition.h"
#include "platform/HttpLoading.h"

#include <deque>
#include <optional>
#include <stdexcept>
#include <variant>
#include <vector>

namespace zelvo {

/// Answers calls with what a test prepared, in order; a call without an answer waits for one. The file of an
/// upload is not looked at.
class FakeHttpLoading final : public HttpLoading {
public:
    std::vector<HttpRequest> requests;
    std::vector<HttpUpload> uploads;
    int endings = 0; ///< calls of endCalls(), which leaves the answers to the test

    void answer(int status, std::string body)
    {
        arrivals.notifyAll([&] { answers.emplace_back(HttpResponse{status, std::move(body)}); });
    }
    void fail(NetworkFailure::Kind kind, std::string description = "failed")
    {
        arrivals.notifyAll([&] { answers.emplace_back(NetworkFailure{kind, std::move(description)}); });
    }

    /// Says that so many bytes of the last upload have gone out; it fails when it is not to go on.
    void progress(std::int64_t sent)
    {
        if (uploads.empty() || !uploads.back().onProgress)
            throw std::logic_error("no upload wants to hear");
        if (!uploads.back().onProgress(sent))
            fail(NetworkFailure::Kind::cancelled, "cancelled");
    }

    Task<HttpResponse> load(HttpRequest request) override
    {
        requests.push_back(std::move(request));
        co_return co_await nextAnswer();
    }
    Task<HttpResponse> upload(HttpUpload upload) override
    {
        uploads.push_back(std::move(upload));
        co_return co_await nextAnswer();
    }

    void endCalls() override { ++endings; }

private:
    Task<HttpResponse> nextAnswer()
    {
        co_await arrivals.wait([this] { return !answers.empty(); });
        auto next = std::move(answers.front());
        answers.pop_front();
        if (auto const* const failure = std::get_if<NetworkFailure>(&next))
            throw *failure;
        co_return std::get<HttpResponse>(std::move(next));
    }

    AsyncCondition arrivals;
    std::deque<std::variant<HttpResponse, NetworkFailure>> answers;
};

} // namespace zelvo
