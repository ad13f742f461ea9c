#pragma once

#include "platform/HttpLoading.h"
#include "platform/portable/net/ConnectionGuard.h"
#include "platform/portable/net/DownloadFile.h"
#include "platform/portable/net/UploadFile.h"

#include <curl/curl.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace zelvo {

struct MultiCleanup {
    void operator()(CURLM* multi) const noexcept { curl_multi_cleanup(multi); }
};
struct ListCleanup {
    void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
};

/// One HTTP call with libcurl, performed on the calling worker. Used once.
class CurlTransfer {
public:
    explicit CurlTransfer(HttpRequest request);
    explicit CurlTransfer(HttpUpload upload);
    explicit CurlTransfer(HttpDownload download);
    CurlTransfer(CurlTransfer const&) = delete;
    CurlTransfer& operator=(CurlTransfer const&) = delete;

    /// Blocks until the call ends. Throws NetworkFailure.
    HttpResponse perform();
    /// Ends the call soon. Thread: any.
    void stop();

private:
    using HeaderList = std::unique_ptr<curl_slist, ListCleanup>;
    using SteadyTime = std::chrono::steady_clock::time_point;

    /// The file that is the request's body.
    struct Upload {
        std::filesystem::path path;
        std::int64_t bytes = 0;
        std::function<bool(std::int64_t)> onProgress;
        std::optional<UploadFile> file; ///< set once it is open
    };

    /// The file that receives the response's body.
    struct Download {
        std::filesystem::path path;
        std::int64_t maxBytes = 0;
        std::function<bool(std::int64_t)> onProgress;
        std::optional<DownloadFile> file = {}; ///< set once it is open
        std::string range = {};                ///< the header Content-Range
        bool hasBegun = false;
    };

    void prepare(CURL* easy, HeaderList const& headers);
    void prepareBody(CURL* easy);
    void prepareFile(CURL* easy);
    void prepareRest(CURL* easy);
    bool takeIntoFile(std::string_view piece);
    bool beginFile();
    static void prepareCertificates(CURL* easy);
    CURLcode runToEnd(CURL* easy);
    Duration timeLeft() const;
    void tellProgress();
    void prepareGuard(CURL* easy);
    void assertWholeFileWent(CURL* easy) const;
    NetworkFailure failureOfCode(CURL* easy, CURLcode code) const;
    void touch() { lastByte = std::chrono::steady_clock::now(); }

    static std::size_t takeBody(char* data, std::size_t one, std::size_t count, void* self);
    static std::size_t takeHeader(char* data, std::size_t one, std::size_t count, void* self);
    static std::size_t giveFile(char* room, std::size_t one, std::size_t count, void* self);
    static curl_socket_t openSocket(void* self, curlsocktype purpose, curl_sockaddr* address);
    static int onBytesMoved(void* self, curl_off_t, curl_off_t downloaded, curl_off_t, curl_off_t uploaded);

    HttpRequest request;
    std::optional<Upload> upload;
    std::optional<Download> download;
    CURL* call = nullptr; ///< while it is performed
    std::unique_ptr<CURLM, MultiCleanup> multi;
    std::atomic<bool> stopped = false; // any thread
    std::optional<ConnectionGuard> guard;
    bool isProxied = false;
    HttpResponse response;
    SteadyTime start;
    SteadyTime lastByte;
    curl_off_t moved = 0;      ///< bytes of bodies, both ways
    curl_off_t sent = 0;       ///< bytes of our body
    std::size_t headBytes = 0; ///< of all heads and of the trailers
    bool isHeadComplete = false;
    char const* excess = nullptr; ///< the part of the response that was too long
    bool isRefused = false;       ///< the guard refused an address
    char errorText[CURL_ERROR_SIZE] = {};
};

} // namespace zelvo
