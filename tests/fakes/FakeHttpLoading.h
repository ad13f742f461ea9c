#pragma once

#include "base/AsyncCondition.h"
#include "platform/HttpLoading.h"

#include <deque>
#include <fstream>
#include <functional>
#include <optional>
#include <stdexcept>
#include <variant>
#include <vector>

namespace zelvo {

/// Answers calls with the test's prepared answers, in order. A call without an answer waits for one. Never
/// reads the file of an upload.
class FakeHttpLoading final : public HttpLoading {
public:
    std::vector<HttpRequest> requests;
    std::vector<HttpUpload> uploads;
    std::vector<HttpDownload> downloads;
    std::string peer = "192.0.2.1"; ///< of every answer
    int endings = 0;                ///< calls of endCalls(), which answers nothing by itself
    std::function<void()> onLoad;

    void answer(int status, std::string body)
    {
        arrivals.notifyAll([&] { answers.emplace_back(HttpResponse{status, std::move(body), peer}); });
    }
    void fail(NetworkFailure::Kind kind, std::string description = "failed")
    {
        arrivals.notifyAll([&] { answers.emplace_back(NetworkFailure{kind, std::move(description)}); });
    }

    /// Reports progress of the last upload. The upload fails if its callback returns false.
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
        if (onLoad)
            onLoad();
        co_return co_await nextAnswer();
    }
    Task<HttpResponse> upload(HttpUpload upload) override
    {
        uploads.push_back(std::move(upload));
        co_return co_await nextAnswer();
    }
    /// Appends the answer's body to the file if its status is 200 or 206; the file begins anew with 200.
    Task<HttpResponse> download(HttpDownload download) override
    {
        downloads.push_back(download);
        HttpResponse response = co_await nextAnswer();
        if (response.status == 200 || response.status == 206) {
            auto const mode = response.status == 200 ? std::ios::trunc : std::ios::app;
            std::ofstream(download.file, std::ios::binary | mode) << response.body;
        }
        response.body.clear();
        co_return response;
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
