#include "ZelvoGateway/recordings/s3/S3Cleanup.h"

#include "ZelvoGateway/base/Log.h"

namespace zelvo::service {

namespace {

constexpr auto patienceAtEnd = std::chrono::seconds(3);

} // namespace

S3Cleanup::~S3Cleanup()
{
    {
        std::unique_lock guard(lock);
        isEnding = true;
        changed.notify_all();
        changed.wait_for(guard, patienceAtEnd, [this] { return left.empty() && !isBusy; });
        left.clear();
    }
    client.stop();
    if (thread.joinable())
        thread.join();
}

void S3Cleanup::remove(std::string key, std::string uploadId)
{
    S3Request request{.method = "DELETE", .key = std::move(key)};
    if (!uploadId.empty())
        request.query = {{"uploadId", std::move(uploadId)}};
    std::scoped_lock const guard(lock);
    if (isEnding || left.size() >= maxLeft)
        return;
    left.push_back(std::move(request));
    if (!thread.joinable())
        thread = std::thread([this] { run(); });
    changed.notify_all();
}

void S3Cleanup::run()
{
    std::unique_lock guard(lock);
    for (;;) {
        changed.wait(guard, [this] { return !left.empty() || isEnding; });
        if (left.empty())
            return;
        S3Request const request = std::move(left.front());
        left.pop_front();
        isBusy = true;
        guard.unlock();
        perform(request);
        guard.lock();
        isBusy = false;
        changed.notify_all();
    }
}

void S3Cleanup::perform(S3Request const& request)
{
    try {
        client.perform(request);
    } catch (std::exception const& error) {
        Log::warning(std::string("left in the store: ") + error.what());
    }
}

} // namespace zelvo::service
