#pragma once

#include "base/Contexts.h"
#include "platform/HttpLoading.h"

#include <memory>

namespace zelvo {

/// HTTP calls by libcurl; each holds one worker until it is over. The system's certificate store
/// (SSL_CERT_FILE and SSL_CERT_DIR count) and the proxy variables are honoured. Calls under way fail with
/// `cancelled` when this goes. Thread: any.
class CurlHttpLoading final : public HttpLoading {
public:
    explicit CurlHttpLoading(Contexts contexts);
    ~CurlHttpLoading() override;
    CurlHttpLoading(CurlHttpLoading const&) = delete;
    CurlHttpLoading& operator=(CurlHttpLoading const&) = delete;

    Task<HttpResponse> load(HttpRequest request) override;
    Task<HttpResponse> upload(HttpUpload upload) override;
    void endCalls() override;

    class Transfers;

private:
    Contexts contexts;
    std::shared_ptr<Transfers> transfers;
};

} // namespace zelvo
