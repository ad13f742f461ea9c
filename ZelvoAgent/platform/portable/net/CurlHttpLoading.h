#pragma once

#include "base/Contexts.h"
#include "platform/HttpLoading.h"

#include <memory>

namespace zelvo {

/// HTTP calls with libcurl; each occupies one worker until it ends. Uses the system's certificate store (or
/// SSL_CERT_FILE and SSL_CERT_DIR) and the proxy variables. Running calls fail with `cancelled` when this
/// object is destroyed. Thread: any.
class CurlHttpLoading final : public HttpLoading {
public:
    explicit CurlHttpLoading(Contexts contexts);
    ~CurlHttpLoading() override;
    CurlHttpLoading(CurlHttpLoading const&) = delete;
    CurlHttpLoading& operator=(CurlHttpLoading const&) = delete;

    Task<HttpResponse> load(HttpRequest request) override;
    Task<HttpResponse> upload(HttpUpload upload) override;
    Task<HttpResponse> download(HttpDownload download) override;
    void endCalls() override;

    class Transfers;

private:
    template <class Call>
    Task<HttpResponse> perform(Call call);

    Contexts contexts;
    std::shared_ptr<Transfers> transfers;
};

} // namespace zelvo
