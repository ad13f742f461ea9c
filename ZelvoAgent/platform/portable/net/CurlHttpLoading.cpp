#include "platform/portable/net/CurlHttpLoading.h"

#include "platform/portable/net/CurlTransfer.h"

#include <boost/asio/associated_cancellation_slot.hpp>
#include <boost/asio/associated_executor.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <exception>
#include <mutex>
#include <utility>
#include <vector>

namespace zelvo {

/// The running calls, so that all can be stopped; calls added later stop at once.
/// Thread: any.
class CurlHttpLoading::Transfers {
public:
    void add(std::shared_ptr<CurlTransfer> const& transfer)
    {
        std::scoped_lock guard(lock);
        std::erase_if(running, [](auto const& one) { return one.expired(); });
        running.push_back(transfer);
        if (ended)
            transfer->stop();
    }

    void stopAll()
    {
        std::scoped_lock guard(lock);
        ended = true;
        for (auto const& one : running)
            if (auto const transfer = one.lock())
                transfer->stop();
    }

private:
    std::mutex lock;
    std::vector<std::weak_ptr<CurlTransfer>> running; // lock
    bool ended = false;                               // lock
};

namespace {

Task<HttpResponse> performOn(Executor workers, std::shared_ptr<CurlTransfer> transfer)
{
    auto start = [workers, transfer](auto handler) {
        auto slot = asio::get_associated_cancellation_slot(handler);
        if (slot.is_connected())
            slot.assign([weak = std::weak_ptr(transfer)](asio::cancellation_type) {
                if (auto const alive = weak.lock())
                    alive->stop();
            });
        asio::post(workers, [transfer, slot, handler = std::move(handler)]() mutable {
            std::exception_ptr failure;
            HttpResponse response;
            try {
                response = transfer->perform();
            } catch (...) {
                failure = std::current_exception();
            }
            auto const home = asio::get_associated_executor(handler);
            // Moved, so that the worker is not the last owner.
            asio::post(home, [slot, failure = std::move(failure), response = std::move(response),
                              handler = std::move(handler)]() mutable {
                if (slot.is_connected())
                    slot.clear();
                std::move(handler)(std::move(failure), std::move(response));
            });
        });
    };
    co_return co_await asio::async_initiate<decltype(asio::use_awaitable),
                                            void(std::exception_ptr, HttpResponse)>(start,
                                                                                    asio::use_awaitable);
}

} // namespace

CurlHttpLoading::CurlHttpLoading(Contexts contexts)
    : contexts(std::move(contexts)), transfers(std::make_shared<Transfers>())
{
}

CurlHttpLoading::~CurlHttpLoading()
{
    transfers->stopAll();
}

void CurlHttpLoading::endCalls()
{
    transfers->stopAll();
}

template <class Call>
Task<HttpResponse> CurlHttpLoading::perform(Call call)
{
    auto transfer = std::make_shared<CurlTransfer>(std::move(call));
    transfers->add(transfer);
    return performOn(contexts.workers, std::move(transfer));
}

Task<HttpResponse> CurlHttpLoading::load(HttpRequest request)
{
    return perform(std::move(request));
}

Task<HttpResponse> CurlHttpLoading::upload(HttpUpload upload)
{
    return perform(std::move(upload));
}

Task<HttpResponse> CurlHttpLoading::download(HttpDownload download)
{
    return perform(std::move(download));
}

} // namespace zelvo
