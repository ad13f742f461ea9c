#include "ZelvoGateway/webhooks/CurlWebhookSender.h"

#include "ZelvoGateway/webhooks/WebhookUrl.h"
#include "base/NetworkAddress.h"

#include <boost/asio/any_completion_handler.hpp>
#include <boost/asio/associated_executor.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <curl/curl.h>
#include <sys/socket.h>

#include <atomic>
#include <cstdlib>
#include <map>
#include <mutex>
#include <thread>

namespace zelvo::service {

namespace {

constexpr int maxPollMs = 60'000;
constexpr char const* refusedAddress = "the address is inside the gateway's network";

struct EasyCleanup {
    void operator()(CURL* easy) const noexcept { curl_easy_cleanup(easy); }
};
struct MultiCleanup {
    void operator()(CURLM* multi) const noexcept { curl_multi_cleanup(multi); }
};
struct ListCleanup {
    void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
};
using EasyPtr = std::unique_ptr<CURL, EasyCleanup>;
using MultiPtr = std::unique_ptr<CURLM, MultiCleanup>;
using ListPtr = std::unique_ptr<curl_slist, ListCleanup>;

using Finished = asio::any_completion_handler<void(WebhookAnswer)>;

ListPtr headerList(WebhookRequest const& request)
{
    ListPtr list;
    auto const add = [&](std::string const& line) {
        if (curl_slist* const longer = curl_slist_append(list.get(), line.c_str())) {
            static_cast<void>(list.release());
            list.reset(longer);
        }
    };
    add("Expect:"); // Do not wait for "100 Continue".
    for (auto const& [name, value] : request.headers)
        add(name + ": " + value);
    return list;
}

/// One request on its way.
class Transfer {
public:
    Transfer(WebhookRequest wanted, WebhookRules const& rules, Finished finished)
        : request(std::move(wanted)), rules(rules), headers(headerList(request)), easy(curl_easy_init()),
          finished(std::move(finished))
    {
    }

    CURL* handle() const { return easy.get(); }
    void prepare();
    void prepareTrust();
    /// Resumes whoever waits. The last call.
    void finish(WebhookAnswer answer)
    {
        if (auto handler = std::exchange(finished, nullptr))
            std::move(handler)(std::move(answer));
    }
    WebhookAnswer answerFor(CURLcode code) const;

private:
    static curl_socket_t openSocket(void* self, curlsocktype, curl_sockaddr* address);
    static std::size_t takeHead(char* data, std::size_t one, std::size_t count, void* self);
    static std::size_t takeBody(char* data, std::size_t one, std::size_t count, void* self);

    WebhookRequest request;
    WebhookRules const& rules;
    ListPtr headers;
    EasyPtr easy;
    Finished finished;
    std::size_t headBytes = 0;
    std::size_t bodyBytes = 0;
    bool isRefused = false;
    bool isCutOff = false; // The body is longer than anybody needs to read.
};

void Transfer::prepare()
{
    CURL* const curl = easy.get();
    curl_easy_setopt(curl, CURLOPT_URL, request.url.c_str());
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, rules.toOwnNetwork ? "http,https" : "https");
    curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(curl, CURLOPT_PROXY, "");
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_QUICK_EXIT, 1L); // Otherwise a slow name server would delay all others.
    curl_easy_setopt(curl, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    prepareTrust();
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers.get());
    curl_easy_setopt(curl, CURLOPT_POST, 1L);
    curl_easy_setopt(curl, CURLOPT_POSTFIELDS, request.body.data());
    curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
    auto const timeout = std::chrono::ceil<std::chrono::milliseconds>(rules.timeout);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(timeout.count()));
    curl_easy_setopt(curl, CURLOPT_OPENSOCKETFUNCTION, &Transfer::openSocket);
    curl_easy_setopt(curl, CURLOPT_OPENSOCKETDATA, this);
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, &Transfer::takeHead);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &Transfer::takeBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(curl, CURLOPT_PRIVATE, this);
    // A connection that another webhook left open may lead to an address that was allowed then only.
    curl_easy_setopt(curl, CURLOPT_FRESH_CONNECT, 1L);
    curl_easy_setopt(curl, CURLOPT_FORBID_REUSE, 1L);
}

/// libcurl knows the system's authorities only; OpenSSL's own variables name others.
void Transfer::prepareTrust()
{
    if (char const* const file = std::getenv("SSL_CERT_FILE"); file && *file)
        curl_easy_setopt(easy.get(), CURLOPT_CAINFO, file);
    if (char const* const folder = std::getenv("SSL_CERT_DIR"); folder && *folder)
        curl_easy_setopt(easy.get(), CURLOPT_CAPATH, folder);
}

/// Called with each address that libcurl is about to connect to.
curl_socket_t Transfer::openSocket(void* self, curlsocktype, curl_sockaddr* address)
{
    auto& transfer = *static_cast<Transfer*>(self);
    auto const wanted = addressOf(address->addr);
    if (!wanted || !isWebhookAddress(*wanted, transfer.rules)) {
        transfer.isRefused = true;
        return CURL_SOCKET_BAD;
    }
    return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

std::size_t Transfer::takeHead(char*, std::size_t one, std::size_t count, void* self)
{
    auto& transfer = *static_cast<Transfer*>(self);
    transfer.headBytes += one * count;
    return transfer.headBytes > transfer.rules.maxAnswer ? 0 : one * count;
}

std::size_t Transfer::takeBody(char*, std::size_t one, std::size_t count, void* self)
{
    auto& transfer = *static_cast<Transfer*>(self);
    transfer.bodyBytes += one * count;
    transfer.isCutOff = transfer.bodyBytes > transfer.rules.maxAnswer;
    return transfer.isCutOff ? 0 : one * count;
}

WebhookAnswer Transfer::answerFor(CURLcode code) const
{
    long status = 0;
    curl_easy_getinfo(easy.get(), CURLINFO_RESPONSE_CODE, &status);
    if (code == CURLE_OK || (code == CURLE_WRITE_ERROR && isCutOff))
        return {.status = static_cast<int>(status), .error = {}};
    if (isRefused)
        return {.status = 0, .error = refusedAddress};
    if (code == CURLE_OPERATION_TIMEDOUT)
        return {.status = 0, .error = "no answer in time"};
    return {.status = 0, .error = curl_easy_strerror(code)}; // Holds nothing of the request.
}

} // namespace

/// The thread, and the requests that are on their way.
class CurlWebhookSender::Loop {
public:
    explicit Loop(WebhookRules const& rules) : rules(rules), multi(startedMulti()) {}

    void add(WebhookRequest request, Finished finished)
    {
        auto transfer = std::make_unique<Transfer>(std::move(request), rules, std::move(finished));
        std::unique_lock guard(lock);
        if (stopping || !multi || !transfer->handle()) {
            guard.unlock();
            transfer->finish({.status = 0, .error = "not sent"});
            return;
        }
        added.push_back(std::move(transfer));
        if (!thread.joinable())
            thread = std::thread([this] { run(); });
        guard.unlock();
        curl_multi_wakeup(multi.get());
    }

    void stop()
    {
        {
            std::scoped_lock guard(lock);
            stopping = true;
        }
        if (!thread.joinable())
            return;
        curl_multi_wakeup(multi.get());
        thread.join();
    }

private:
    static MultiPtr startedMulti()
    {
        static CURLcode const ready = curl_global_init(CURL_GLOBAL_DEFAULT);
        return ready == CURLE_OK ? MultiPtr(curl_multi_init()) : nullptr;
    }

    void run()
    {
        while (takeAdded()) {
            int running = 0;
            curl_multi_perform(multi.get(), &running);
            finishDone();
            curl_multi_poll(multi.get(), nullptr, 0, maxPollMs, nullptr);
        }
        for (auto const& [easy, transfer] : transfers) {
            curl_multi_remove_handle(multi.get(), easy);
            transfer->finish({.status = 0, .error = "not sent"});
        }
        transfers.clear();
    }

    /// False once the loop is to stop.
    bool takeAdded()
    {
        std::vector<std::unique_ptr<Transfer>> taken;
        bool goesOn = true;
        {
            std::scoped_lock guard(lock);
            taken.swap(added);
            goesOn = !stopping;
        }
        for (auto& transfer : taken) {
            CURL* const easy = transfer->handle();
            transfer->prepare();
            curl_multi_add_handle(multi.get(), easy);
            transfers.emplace(easy, std::move(transfer));
        }
        return goesOn;
    }

    void finishDone()
    {
        int left = 0;
        while (CURLMsg const* const message = curl_multi_info_read(multi.get(), &left)) {
            if (message->msg != CURLMSG_DONE)
                continue;
            CURLcode const code = message->data.result; // The message ends with its handle.
            auto done = transfers.extract(message->easy_handle);
            curl_multi_remove_handle(multi.get(), done.key());
            done.mapped()->finish(done.mapped()->answerFor(code));
        }
    }

    WebhookRules const& rules;
    MultiPtr multi;                                       // its thread, but for curl_multi_wakeup()
    std::map<CURL*, std::unique_ptr<Transfer>> transfers; // its thread
    std::mutex lock;
    std::vector<std::unique_ptr<Transfer>> added; // lock
    bool stopping = false;                        // lock
    std::thread thread;
};

CurlWebhookSender::CurlWebhookSender(WebhookRules const& rules) : loop(std::make_unique<Loop>(rules)) {}

CurlWebhookSender::~CurlWebhookSender()
{
    loop->stop();
}

void CurlWebhookSender::stop()
{
    loop->stop();
}

Task<WebhookAnswer> CurlWebhookSender::send(WebhookRequest request)
{
    auto start = [this, &request](auto handler) {
        auto const home = asio::get_associated_executor(handler);
        // Without the guard the caller's loop could end while the request is on its way.
        auto resume = [home, work = asio::make_work_guard(home),
                       handler = std::move(handler)](WebhookAnswer answer) mutable {
            asio::post(home, [handler = std::move(handler), answer = std::move(answer)]() mutable {
                std::move(handler)(std::move(answer));
            });
        };
        loop->add(std::move(request), Finished(std::move(resume)));
    };
    co_return co_await asio::async_initiate<decltype(asio::use_awaitable), void(WebhookAnswer)>(
        start, asio::use_awaitable);
}

} // namespace zelvo::service
