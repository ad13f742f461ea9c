#include "ZelvoGateway/recordings/s3/S3Transfer.h"

#include "ZelvoGateway/base/Secrets.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <ctime>

namespace zelvo::service {

namespace {

constexpr std::size_t maxHead = 64 << 10;
constexpr std::size_t maxIdle = 16;

struct EasyCleanup {
    void operator()(CURL* easy) const noexcept { curl_easy_cleanup(easy); }
};
struct ListCleanup {
    void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
};
using EasyPtr = std::unique_ptr<CURL, EasyCleanup>;
using ListPtr = std::unique_ptr<curl_slist, ListCleanup>;

/// The server compares the body with this hash, which is signed, so no damaged body is ever kept.
ListPtr headerList(S3Message const& message)
{
    ListPtr list;
    auto const add = [&](std::string const& line) {
        if (curl_slist* const longer = curl_slist_append(list.get(), line.c_str())) {
            static_cast<void>(list.release());
            list.reset(longer);
        }
    };
    add("x-amz-content-sha256: " + hashOf(message.body));
    for (std::string const& line : message.headers)
        add(line);
    return list;
}

long milliseconds(Duration duration)
{
    return static_cast<long>(std::chrono::ceil<std::chrono::milliseconds>(duration).count());
}

/// The value of a header line with this lower-case name; nullopt for other lines.
std::optional<std::string> valueOf(std::string_view line, std::string_view name)
{
    if (line.size() <= name.size() || line[name.size()] != ':')
        return std::nullopt;
    for (std::size_t at = 0; at < name.size(); ++at)
        if (std::tolower(static_cast<unsigned char>(line[at])) != name[at])
            return std::nullopt;
    line.remove_prefix(name.size() + 1);
    constexpr std::string_view blanks = " \t\r\n";
    std::size_t const first = std::min(line.find_first_not_of(blanks), line.size());
    std::size_t const last = line.find_last_not_of(blanks);
    return first == line.size() ? std::string() : std::string(line.substr(first, last - first + 1));
}

} // namespace

/// A connection, and the exchange on it.
class S3Transfers::Handle {
public:
    Handle() : easy(curl_easy_init()) {}

    S3Reply send(S3Message const& message,
                 S3Credentials const& credentials,
                 S3Times const& times,
                 std::atomic<bool> const& stop);

private:
    void prepare(S3Message const& message, S3Credentials const& credentials, S3Times const& times);
    void prepareConnection(S3Message const& message, S3Times const& times);
    void prepareMethod(S3Message const& message);
    std::string problemOf(CURLcode code) const;
    template <class Value>
    void set(CURLoption option, Value value)
    {
        curl_easy_setopt(easy.get(), option, value);
    }
    static std::size_t takeHead(char* data, std::size_t one, std::size_t count, void* self);
    static std::size_t takeBody(char* data, std::size_t one, std::size_t count, void* self);
    static int watch(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t);

    EasyPtr easy;
    ListPtr headers;
    S3Reply reply;
    std::size_t maxAnswer = 0;
    std::size_t headBytes = 0;
    bool isHeadWhole = false;
    bool isTooLarge = false;
    std::atomic<bool> const* stopping = nullptr;
};

S3Reply S3Transfers::Handle::send(S3Message const& message,
                                  S3Credentials const& credentials,
                                  S3Times const& times,
                                  std::atomic<bool> const& stop)
{
    if (!easy)
        return {.problem = "out of memory"};
    reply = {};
    headBytes = 0;
    isHeadWhole = false;
    isTooLarge = false;
    maxAnswer = message.maxAnswer;
    stopping = &stop;
    curl_easy_reset(easy.get()); // Keeps the connection.
    prepare(message, credentials, times);
    CURLcode const code = curl_easy_perform(easy.get());
    long status = 0;
    curl_easy_getinfo(easy.get(), CURLINFO_RESPONSE_CODE, &status);
    reply.status = static_cast<int>(status);
    if (code != CURLE_OK)
        reply.problem = problemOf(code);
    else if (!isHeadWhole) // libcurl takes a head without its end for a whole answer.
        reply.problem = "its answer is cut off";
    curl_off_t length = -1;
    curl_easy_getinfo(easy.get(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
    reply.length = length < 0 ? 0 : static_cast<std::uint64_t>(length);
    headers.reset();
    return std::move(reply);
}

void S3Transfers::Handle::prepare(S3Message const& message,
                                  S3Credentials const& credentials,
                                  S3Times const& times)
{
    prepareConnection(message, times);
    prepareMethod(message);
    headers = headerList(message);
    set(CURLOPT_HTTPHEADER, headers.get());
    set(CURLOPT_AWS_SIGV4, ("aws:amz:" + message.region + ":s3").c_str());
    set(CURLOPT_USERNAME, credentials.accessKey.c_str());
    set(CURLOPT_PASSWORD, credentials.secretKey.c_str());
    set(CURLOPT_HEADERFUNCTION, &Handle::takeHead);
    set(CURLOPT_HEADERDATA, this);
    set(CURLOPT_WRITEFUNCTION, &Handle::takeBody);
    set(CURLOPT_WRITEDATA, this);
    set(CURLOPT_NOPROGRESS, 0L);
    set(CURLOPT_XFERINFOFUNCTION, &Handle::watch);
    set(CURLOPT_XFERINFODATA, this);
}

void S3Transfers::Handle::prepareConnection(S3Message const& message, S3Times const& times)
{
    bool const isSecure = message.url.starts_with("https://");
    set(CURLOPT_URL, message.url.c_str());
    set(CURLOPT_PATH_AS_IS, 1L);
    set(CURLOPT_PROTOCOLS_STR, isSecure ? "https" : "http");
    if (!isSecure)
        set(CURLOPT_PROXY, ""); // It is on this computer.
    set(CURLOPT_FOLLOWLOCATION, 0L);
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    // libcurl knows the system's authorities only; OpenSSL's own variables name others.
    if (char const* const file = std::getenv("SSL_CERT_FILE"); file && *file)
        set(CURLOPT_CAINFO, file);
    if (char const* const folder = std::getenv("SSL_CERT_DIR"); folder && *folder)
        set(CURLOPT_CAPATH, folder);
    set(CURLOPT_CONNECTTIMEOUT_MS, milliseconds(times.connect));
    set(CURLOPT_TIMEOUT_MS, milliseconds(times.longest));
    set(CURLOPT_LOW_SPEED_LIMIT, 1L);
    set(CURLOPT_LOW_SPEED_TIME,
        static_cast<long>(std::chrono::ceil<std::chrono::seconds>(times.stalled).count()));
}

void S3Transfers::Handle::prepareMethod(S3Message const& message)
{
    if (!message.range.empty())
        set(CURLOPT_RANGE, message.range.c_str());
    if (message.method == "HEAD") {
        set(CURLOPT_NOBODY, 1L);
    } else if (message.method == "PUT" || message.method == "POST") {
        set(CURLOPT_POST, 1L);
        set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(message.body.size()));
        set(CURLOPT_POSTFIELDS, message.body.empty() ? "" : message.body.data());
        set(CURLOPT_CUSTOMREQUEST, message.method.c_str());
    } else if (message.method != "GET") {
        set(CURLOPT_CUSTOMREQUEST, message.method.c_str());
    }
}

std::size_t S3Transfers::Handle::takeHead(char* data, std::size_t one, std::size_t count, void* self)
{
    auto& handle = *static_cast<Handle*>(self);
    std::size_t const size = one * count;
    std::string_view const line(data, size);
    handle.headBytes += size;
    handle.isHeadWhole = line == "\r\n" || line == "\n";
    if (auto tag = valueOf(line, "etag"))
        handle.reply.tag = *std::move(tag);
    else if (auto range = valueOf(line, "content-range"))
        handle.reply.range = *std::move(range);
    else if (auto region = valueOf(line, "x-amz-bucket-region"))
        handle.reply.region = *std::move(region);
    else if (auto const date = valueOf(line, "date"))
        if (std::time_t const seconds = curl_getdate(date->c_str(), nullptr); seconds >= 0)
            handle.reply.date = Date(std::chrono::seconds(seconds));
    handle.isTooLarge = handle.headBytes > maxHead;
    return handle.isTooLarge ? 0 : size;
}

std::size_t S3Transfers::Handle::takeBody(char* data, std::size_t one, std::size_t count, void* self)
{
    auto& handle = *static_cast<Handle*>(self);
    std::size_t const size = one * count;
    handle.isTooLarge = size > handle.maxAnswer - handle.reply.body.size();
    if (handle.isTooLarge)
        return 0;
    handle.reply.body.append(data, size);
    return size;
}

int S3Transfers::Handle::watch(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t)
{
    return static_cast<Handle*>(self)->stopping->load() ? 1 : 0;
}

/// libcurl's words hold nothing of the request.
std::string S3Transfers::Handle::problemOf(CURLcode code) const
{
    if (isTooLarge)
        return "its answer is too large";
    if (code == CURLE_ABORTED_BY_CALLBACK)
        return "the gateway stops";
    if (code == CURLE_OPERATION_TIMEDOUT)
        return "no answer in time";
    return curl_easy_strerror(code);
}

S3Transfers::S3Transfers(S3Times const& times) : limits(times)
{
    static CURLcode const ready = curl_global_init(CURL_GLOBAL_DEFAULT);
    static_cast<void>(ready);
}

S3Transfers::~S3Transfers() = default;

std::unique_ptr<S3Transfers::Handle> S3Transfers::idleHandle()
{
    std::scoped_lock const guard(lock);
    if (idle.empty())
        return std::make_unique<Handle>();
    auto handle = std::move(idle.back());
    idle.pop_back();
    return handle;
}

S3Reply S3Transfers::send(S3Message const& message, S3Credentials const& credentials)
{
    if (stopping)
        return {.problem = "the gateway stops"};
    auto handle = idleHandle();
    S3Reply reply = handle->send(message, credentials, limits, stopping);
    std::scoped_lock const guard(lock);
    if (idle.size() < maxIdle)
        idle.push_back(std::move(handle));
    return reply;
}

} // namespace zelvo::service
