#include "platform/linux/net/CurlHttpLoading.h"

#include "platform/linux/net/NetworkFailures.h"

#include <boost/asio/associated_cancellation_slot.hpp>
#include <boost/asio/associated_executor.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <curl/curl.h>

#include <atomic>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <utility>
#include <vector>

namespace zelvo {

namespace {

using Kind = NetworkFailure::Kind;
using SteadyTime = std::chrono::steady_clock::time_point;

constexpr std::size_t mostBodyBytes = std::size_t{16} << 20;

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
using HeaderList = std::unique_ptr<curl_slist, ListCleanup>;

MultiPtr makeMulti()
{
    static CURLcode const ready = curl_global_init(CURL_GLOBAL_DEFAULT);
    return ready == CURLE_OK ? MultiPtr(curl_multi_init()) : nullptr;
}

void addHeader(HeaderList& list, std::string const& line)
{
    if (curl_slist* const longer = curl_slist_append(list.get(), line.c_str())) {
        static_cast<void>(list.release());
        list.reset(longer);
    }
}

HeaderList headerList(HttpRequest const& request)
{
    constexpr std::string_view lineEnds("\r\n\0", 3);
    HeaderList list;
    addHeader(list, "Expect:");       // No waiting for "100 Continue".
    addHeader(list, "Content-Type:"); // Only what the caller says.
    for (auto const& [name, value] : request.headers) {
        if (name.find_first_of(lineEnds) != std::string::npos ||
            value.find_first_of(lineEnds) != std::string::npos)
            throw NetworkFailure{Kind::other, "a header holds a line break"};
        addHeader(list, name + (value.empty() ? ";" : ": ") + value);
    }
    return list;
}

Kind kindOf(CURLcode code, long osError)
{
    switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return Kind::hostNotFound;
    case CURLE_COULDNT_CONNECT:
        return failureKindOfErrno(static_cast<int>(osError)) == Kind::offline ? Kind::offline
                                                                              : Kind::unreachable;
    case CURLE_OPERATION_TIMEDOUT:
        return Kind::timedOut;
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
        return Kind::lost;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_CACERT_BADFILE:
        return Kind::tls;
    default:
        return Kind::other;
    }
}

/// One call, carried out by the worker that runs it.
class Transfer {
public:
    explicit Transfer(HttpRequest request) : request(std::move(request)), multi(makeMulti()) {}

    HttpResponse perform();
    /// Ends the call soon. Thread: any.
    void stop()
    {
        stopped = true;
        if (multi)
            curl_multi_wakeup(multi.get());
    }

private:
    void prepare(CURL* easy, HeaderList const& headers);
    void prepareBody(CURL* easy);
    void prepareCertificates(CURL* easy);
    CURLcode runToEnd(CURL* easy);
    NetworkFailure failureOfCode(CURL* easy, CURLcode code) const;
    void touch() { lastByte = std::chrono::steady_clock::now(); }

    static std::size_t takeBody(char* data, std::size_t one, std::size_t count, void* self);
    static std::size_t takeHeader(char* data, std::size_t one, std::size_t count, void* self);
    static int onProgress(void* self, curl_off_t, curl_off_t downloaded, curl_off_t, curl_off_t uploaded);

    HttpRequest request;
    MultiPtr multi;
    std::atomic<bool> stopped = false; // any thread
    HttpResponse response;
    SteadyTime lastByte;
    curl_off_t moved = 0; ///< bytes of bodies, both ways
    bool tooLong = false;
    char errorText[CURL_ERROR_SIZE] = {};
};

HttpResponse Transfer::perform()
{
    EasyPtr const easy(curl_easy_init());
    if (!multi || !easy)
        throw NetworkFailure{Kind::other, "libcurl could not be started"};
    HeaderList const headers = headerList(request);
    prepare(easy.get(), headers);
    curl_multi_add_handle(multi.get(), easy.get());
    CURLcode const code = runToEnd(easy.get());
    curl_multi_remove_handle(multi.get(), easy.get());
    if (code != CURLE_OK)
        throw failureOfCode(easy.get(), code);
    long status = 0;
    curl_easy_getinfo(easy.get(), CURLINFO_RESPONSE_CODE, &status);
    response.status = static_cast<int>(status);
    return std::move(response);
}

void Transfer::prepare(CURL* easy, HeaderList const& headers)
{
    curl_easy_setopt(easy, CURLOPT_URL, request.url.c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers.get());
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, errorText);
    curl_easy_setopt(
        easy, CURLOPT_CONNECTTIMEOUT_MS,
        static_cast<long>(std::chrono::ceil<std::chrono::milliseconds>(request.timeout).count()));
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Transfer::takeBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &Transfer::takeHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, &Transfer::onProgress);
    curl_easy_setopt(easy, CURLOPT_XFERINFODATA, this);
    prepareBody(easy);
    prepareCertificates(easy);
}

void Transfer::prepareBody(CURL* easy)
{
    if (request.method == "HEAD") {
        curl_easy_setopt(easy, CURLOPT_NOBODY, 1L);
        return;
    }
    if (!request.body.empty() || request.method == "POST") {
        curl_easy_setopt(easy, CURLOPT_POST, 1L);
        curl_easy_setopt(easy, CURLOPT_POSTFIELDS, request.body.data());
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
    }
    curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, request.method.c_str());
}

void Transfer::prepareCertificates(CURL* easy)
{
    char const* const file = std::getenv("SSL_CERT_FILE");
    char const* const folder = std::getenv("SSL_CERT_DIR");
    if (file && *file)
        curl_easy_setopt(easy, CURLOPT_CAINFO, file);
    if (folder && *folder) {
        curl_easy_setopt(easy, CURLOPT_CAPATH, folder);
        if (!file || !*file)
            curl_easy_setopt(easy, CURLOPT_CAINFO,
                             nullptr); // A folder takes the place of libcurl's own bundle.
    }
}

/// Gives CURLE_OPERATION_TIMEDOUT after the time-out without a byte, CURLE_ABORTED_BY_CALLBACK when stopped.
CURLcode Transfer::runToEnd(CURL* easy)
{
    touch();
    int running = 1;
    while (true) {
        if (stopped)
            return CURLE_ABORTED_BY_CALLBACK;
        if (curl_multi_perform(multi.get(), &running) != CURLM_OK)
            return CURLE_FAILED_INIT;
        if (running == 0)
            break;
        auto const left = request.timeout - (std::chrono::steady_clock::now() - lastByte);
        if (left <= Duration::zero())
            return CURLE_OPERATION_TIMEDOUT;
        auto const wait = std::min<Duration>(left, 1s);
        auto const waitMs = std::chrono::ceil<std::chrono::milliseconds>(wait).count();
        curl_multi_poll(multi.get(), nullptr, 0, static_cast<int>(waitMs), nullptr);
    }
    int left = 0;
    while (CURLMsg const* const message = curl_multi_info_read(multi.get(), &left))
        if (message->msg == CURLMSG_DONE && message->easy_handle == easy)
            return message->data.result;
    return CURLE_FAILED_INIT;
}

NetworkFailure Transfer::failureOfCode(CURL* easy, CURLcode code) const
{
    if (stopped)
        return {Kind::cancelled, "cancelled"};
    if (tooLong)
        return {Kind::other, "the answer is longer than 16 MiB"};
    long osError = 0;
    curl_easy_getinfo(easy, CURLINFO_OS_ERRNO, &osError);
    // libcurl's detailed texts name host and port at most, never a header or a body.
    bool const hasDetail = errorText[0] != '\0' && code != CURLE_URL_MALFORMAT;
    return {kindOf(code, osError), hasDetail ? errorText : curl_easy_strerror(code)};
}

std::size_t Transfer::takeBody(char* data, std::size_t one, std::size_t count, void* self)
{
    auto& transfer = *static_cast<Transfer*>(self);
    std::size_t const bytes = one * count;
    transfer.touch();
    if (transfer.response.body.size() + bytes > mostBodyBytes) {
        transfer.tooLong = true;
        return 0;
    }
    transfer.response.body.append(data, bytes);
    return bytes;
}

std::size_t Transfer::takeHeader(char*, std::size_t one, std::size_t count, void* self)
{
    static_cast<Transfer*>(self)->touch();
    return one * count;
}

int Transfer::onProgress(void* self, curl_off_t, curl_off_t downloaded, curl_off_t, curl_off_t uploaded)
{
    auto& transfer = *static_cast<Transfer*>(self);
    if (downloaded + uploaded != transfer.moved) {
        transfer.moved = downloaded + uploaded;
        transfer.touch();
    }
    return transfer.stopped ? 1 : 0;
}

} // namespace

/// The calls under way, so that all can be stopped.
/// Thread: any.
class CurlHttpLoading::Transfers {
public:
    void add(std::shared_ptr<Transfer> const& transfer)
    {
        std::scoped_lock guard(lock);
        std::erase_if(running, [](auto const& one) { return one.expired(); });
        running.push_back(transfer);
    }

    void stopAll()
    {
        std::scoped_lock guard(lock);
        for (auto const& one : running)
            if (auto const transfer = one.lock())
                transfer->stop();
    }

private:
    std::mutex lock;
    std::vector<std::weak_ptr<Transfer>> running; // lock
};

namespace {

Task<HttpResponse> performOn(Executor workers, std::shared_ptr<Transfer> transfer)
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
            // Moved, so that the worker is not the last to let go of it.
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

Task<HttpResponse> CurlHttpLoading::load(HttpRequest request)
{
    auto transfer = std::make_shared<Transfer>(std::move(request));
    transfers->add(transfer);
    return performOn(contexts.workers, std::move(transfer));
}

} // namespace zelvo
