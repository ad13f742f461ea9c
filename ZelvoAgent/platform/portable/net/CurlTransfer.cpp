#include "platform/portable/net/CurlTransfer.h"

#include "base/Text.h"
#include "platform/portable/net/NetworkFailures.h"
#include "platform/portable/net/PortText.h"
#include "platform/portable/net/ProxyChoice.h"

#include <sys/socket.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace zelvo {

namespace {

using Kind = NetworkFailure::Kind;

constexpr std::size_t maxBodyBytes = std::size_t{16} << 20;
constexpr std::size_t maxHeadBytes = std::size_t{1} << 20;

struct EasyCleanup {
    void operator()(CURL* easy) const noexcept { curl_easy_cleanup(easy); }
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

struct UrlCleanup {
    void operator()(CURLU* url) const noexcept { curl_url_cleanup(url); }
};

/// A URL's scheme, host and port as libcurl reads them: it also knows numbers for addresses.
struct UrlParts {
    std::string scheme;
    std::string host;
    std::uint16_t port = 0;
};

std::string partOf(CURLU* url, CURLUPart part)
{
    char* raw = nullptr;
    if (curl_url_get(url, part, &raw, CURLU_DEFAULT_PORT) != CURLUE_OK)
        return {};
    std::string text(raw);
    curl_free(raw);
    return text;
}

UrlParts partsOf(std::string const& text)
{
    std::unique_ptr<CURLU, UrlCleanup> const url(curl_url());
    if (!url || curl_url_set(url.get(), CURLUPART_URL, text.c_str(), 0) != CURLUE_OK)
        return {};
    return {.scheme = partOf(url.get(), CURLUPART_SCHEME),
            .host = partOf(url.get(), CURLUPART_HOST),
            .port = parsePort(partOf(url.get(), CURLUPART_PORT)).value_or(0)};
}

bool goesThroughAProxy(UrlParts const& url)
{
    try {
        return proxyFor(url.scheme == "https", url.host, url.port, environmentVariable).has_value();
    } catch (NetworkFailure const&) {
        return true; // Of a kind that only libcurl knows.
    }
}

HeaderList headerList(HttpRequest const& request)
{
    constexpr std::string_view lineEnds("\r\n\0", 3);
    HeaderList list;
    addHeader(list, "Expect:");       // Do not wait for "100 Continue".
    addHeader(list, "Content-Type:"); // Only if the caller sets it.
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

/// The limits and headers of a request whose body is a file.
HttpRequest requestOf(HttpUpload const& upload)
{
    HttpRequest request;
    request.url = upload.url;
    request.method = upload.method;
    request.headers = upload.headers;
    request.timeout = upload.timeout;
    return request;
}

} // namespace

CurlTransfer::CurlTransfer(HttpRequest request) : request(std::move(request)), multi(makeMulti()) {}

CurlTransfer::CurlTransfer(HttpUpload upload) : CurlTransfer(requestOf(upload))
{
    if (upload.gatewayPeer)
        guard.emplace(*upload.gatewayPeer);
    this->upload.emplace(std::move(upload.file), upload.bytes, std::move(upload.onProgress), std::nullopt);
}

CurlTransfer::CurlTransfer(HttpDownload wanted)
    : CurlTransfer(HttpRequest{.url = wanted.url, .timeout = wanted.timeout, .longest = wanted.longest})
{
    download.emplace(std::move(wanted.file), wanted.maxBytes, std::move(wanted.onProgress));
}

void CurlTransfer::stop()
{
    stopped = true;
    if (multi)
        curl_multi_wakeup(multi.get());
}

HttpResponse CurlTransfer::perform()
{
    EasyPtr const easy(curl_easy_init());
    if (!multi || !easy)
        throw NetworkFailure{Kind::other, "libcurl could not be started"};
    HeaderList const headers = headerList(request);
    if (upload)
        upload->file.emplace(upload->path, upload->bytes);
    if (download)
        download->file.emplace(download->path, download->maxBytes);
    call = easy.get();
    prepare(easy.get(), headers);
    curl_multi_add_handle(multi.get(), easy.get());
    CURLcode const code = runToEnd(easy.get());
    curl_multi_remove_handle(multi.get(), easy.get());
    if (code != CURLE_OK)
        throw failureOfCode(easy.get(), code);
    long status = 0;
    curl_easy_getinfo(easy.get(), CURLINFO_RESPONSE_CODE, &status);
    response.status = static_cast<int>(status);
    char const* peer = nullptr;
    if (!isProxied && curl_easy_getinfo(easy.get(), CURLINFO_PRIMARY_IP, &peer) == CURLE_OK && peer)
        response.peer = peer;
    if (!isHeadComplete) // libcurl accepts a truncated head.
        throw NetworkFailure{Kind::lost, "the answer ended in its head"};
    assertWholeFileWent(easy.get());
    if (download && !beginFile())
        throw NetworkFailure{Kind::other, download->file->failure()};
    return std::move(response);
}

/// A server may respond early, and may refuse early. A success without the whole file counts as a failure.
void CurlTransfer::assertWholeFileWent(CURL* easy) const
{
    constexpr int successes = 2;
    if (!upload || response.status / 100 != successes)
        return;
    curl_off_t gone = 0;
    curl_easy_getinfo(easy, CURLINFO_SIZE_UPLOAD_T, &gone);
    if (gone != upload->bytes)
        throw NetworkFailure{Kind::lost, "the answer came before the end of the file"};
}

void CurlTransfer::prepare(CURL* easy, HeaderList const& headers)
{
    curl_easy_setopt(easy, CURLOPT_URL, request.url.c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers.get());
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, errorText);
    Duration const maxWait = std::min(request.timeout, request.longest);
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS,
                     static_cast<long>(std::chrono::ceil<std::chrono::milliseconds>(maxWait).count()));
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &CurlTransfer::takeBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &CurlTransfer::takeHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, &CurlTransfer::onBytesMoved);
    curl_easy_setopt(easy, CURLOPT_XFERINFODATA, this);
    prepareBody(easy);
    prepareGuard(easy);
    prepareCertificates(easy);
}

void CurlTransfer::prepareBody(CURL* easy)
{
    if (upload) {
        prepareFile(easy);
        return;
    }
    if (download)
        prepareRest(easy);
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

void CurlTransfer::prepareGuard(CURL* easy)
{
    UrlParts const url = partsOf(request.url);
    isProxied = goesThroughAProxy(url);
    if (!guard)
        return;
    if (isProxied && !guard->allowsHost(url.host))
        throw NetworkFailure{Kind::other, "the address is one of this machine or its network"};
    if (isProxied)
        return;
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETFUNCTION, &CurlTransfer::openSocket);
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETDATA, this);
}

/// Called with each address that libcurl is about to connect to.
curl_socket_t CurlTransfer::openSocket(void* self, curlsocktype, curl_sockaddr* address)
{
    auto& transfer = *static_cast<CurlTransfer*>(self);
    if (!transfer.guard->allows(address->addr)) {
        transfer.isRefused = true;
        return CURL_SOCKET_BAD;
    }
    return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

void CurlTransfer::prepareFile(CURL* easy)
{
    constexpr long blockBytes = 256L * 1024;
    curl_easy_setopt(easy, CURLOPT_UPLOAD, 1L);
    curl_easy_setopt(easy, CURLOPT_UPLOAD_BUFFERSIZE, blockBytes);
    curl_easy_setopt(easy, CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(upload->file->size()));
    curl_easy_setopt(easy, CURLOPT_READFUNCTION, &CurlTransfer::giveFile);
    curl_easy_setopt(easy, CURLOPT_READDATA, this);
    curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, request.method.c_str());
}

/// Bodies are taken as they are: an encoded one would not continue a file.
void CurlTransfer::prepareRest(CURL* easy)
{
    curl_easy_setopt(easy, CURLOPT_BUFFERSIZE, 256L * 1024);
    if (download->file->size() > 0)
        curl_easy_setopt(easy, CURLOPT_RANGE, (std::to_string(download->file->size()) + "-").c_str());
}

void CurlTransfer::prepareCertificates(CURL* easy)
{
    char const* const file = std::getenv("SSL_CERT_FILE");
    char const* const folder = std::getenv("SSL_CERT_DIR");
    if (file && *file)
        curl_easy_setopt(easy, CURLOPT_CAINFO, file);
    if (folder && *folder) {
        curl_easy_setopt(easy, CURLOPT_CAPATH, folder);
        if (!file || !*file)
            curl_easy_setopt(easy, CURLOPT_CAINFO,
                             nullptr); // A folder replaces libcurl's own bundle.
    }
}

/// Returns CURLE_OPERATION_TIMEDOUT at a time-out, CURLE_ABORTED_BY_CALLBACK if stopped.
CURLcode CurlTransfer::runToEnd(CURL* easy)
{
    touch();
    start = lastByte;
    int running = 1;
    while (true) {
        if (stopped)
            return CURLE_ABORTED_BY_CALLBACK;
        if (curl_multi_perform(multi.get(), &running) != CURLM_OK)
            return CURLE_FAILED_INIT;
        tellProgress();
        if (running == 0)
            break;
        Duration const left = timeLeft();
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

Duration CurlTransfer::timeLeft() const
{
    SteadyTime const now = std::chrono::steady_clock::now();
    return std::min<Duration>(request.timeout - (now - lastByte), request.longest - (now - start));
}

void CurlTransfer::tellProgress()
{
    if (upload && upload->onProgress && !upload->onProgress(sent))
        stopped = true;
    if (download && download->onProgress && !download->onProgress(download->file->size()))
        stopped = true;
}

NetworkFailure CurlTransfer::failureOfCode(CURL* easy, CURLcode code) const
{
    if (stopped)
        return {Kind::cancelled, "cancelled"};
    if (upload && !upload->file->failure().empty())
        return {Kind::other, upload->file->failure()};
    if (download && !download->file->failure().empty())
        return {Kind::other, download->file->failure()};
    if (excess)
        return {Kind::other, excess};
    if (isRefused)
        return {Kind::other, "the address is one of this machine or its network"};
    long osError = 0;
    curl_easy_getinfo(easy, CURLINFO_OS_ERRNO, &osError);
    // libcurl's detailed texts contain host and port at most, never a header or a body.
    bool const hasDetail = errorText[0] != '\0' && code != CURLE_URL_MALFORMAT;
    return {kindOf(code, osError), hasDetail ? errorText : curl_easy_strerror(code)};
}

std::size_t CurlTransfer::takeBody(char* data, std::size_t one, std::size_t count, void* self)
{
    auto& transfer = *static_cast<CurlTransfer*>(self);
    std::size_t const bytes = one * count;
    transfer.touch();
    if (transfer.download)
        return transfer.takeIntoFile({data, bytes}) ? bytes : 0;
    if (transfer.response.body.size() + bytes > maxBodyBytes) {
        transfer.excess = "the answer is longer than 16 MiB";
        return 0;
    }
    transfer.response.body.append(data, bytes);
    return bytes;
}

bool CurlTransfer::takeIntoFile(std::string_view piece)
{
    return beginFile() && download->file->write(piece);
}

/// At the first byte of the body, or at the end of an empty one.
bool CurlTransfer::beginFile()
{
    if (std::exchange(download->hasBegun, true))
        return true;
    long status = 0;
    curl_easy_getinfo(call, CURLINFO_RESPONSE_CODE, &status);
    return download->file->begin(static_cast<int>(status), download->range);
}

/// Receives each header line, and an empty one at the end of every head: there may be several, interim ones
/// first. Trailers of a chunked body arrive here too; libcurl does not limit those.
std::size_t CurlTransfer::takeHeader(char* data, std::size_t one, std::size_t count, void* self)
{
    auto& transfer = *static_cast<CurlTransfer*>(self);
    std::string_view const line(data, one * count);
    transfer.headBytes += line.size();
    if (transfer.headBytes > maxHeadBytes) {
        transfer.excess = "the head of the answer is longer than 1 MiB";
        return 0;
    }
    constexpr std::string_view rangeName = "content-range:";
    if (transfer.download && text::lowercased(line.substr(0, rangeName.size())) == rangeName)
        transfer.download->range = text::trimmed(line.substr(rangeName.size()));
    if (line.starts_with("HTTP/"))
        transfer.isHeadComplete = false;
    else if (line == "\r\n" || line == "\n")
        transfer.isHeadComplete = true;
    transfer.touch();
    return line.size();
}

std::size_t CurlTransfer::giveFile(char* room, std::size_t one, std::size_t count, void* self)
{
    auto& transfer = *static_cast<CurlTransfer*>(self);
    if (transfer.stopped)
        return CURL_READFUNC_ABORT;
    return transfer.upload->file->read(room, one * count).value_or(CURL_READFUNC_ABORT);
}

int CurlTransfer::onBytesMoved(void* self, curl_off_t, curl_off_t downloaded, curl_off_t, curl_off_t uploaded)
{
    auto& transfer = *static_cast<CurlTransfer*>(self);
    transfer.sent = uploaded;
    if (downloaded + uploaded != transfer.moved) {
        transfer.moved = downloaded + uploaded;
        transfer.touch();
    }
    return transfer.stopped ? 1 : 0;
}

} // namespace zelvo
