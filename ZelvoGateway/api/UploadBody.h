#pragma once

#include "ZelvoGateway/http/BodySink.h"
#include "ZelvoGateway/recordings/RecordingUpload.h"

#include <memory>

namespace zelvo::service {

/// The body of an upload, on its way into a recording. Thread: the server's.
class UploadBody final : public BodySink {
public:
    explicit UploadBody(std::shared_ptr<RecordingUpload> upload) : upload(std::move(upload)) {}

    Task<> take(std::string_view piece) override;
    Task<HttpResponse> finish() override;

private:
    std::shared_ptr<RecordingUpload> upload;
};

/// Refuses an upload whose head does not announce exactly this many bytes of video. Throws HttpError.
void assertUploadHead(HttpRequest const& head, std::uint64_t bytes);

} // namespace zelvo::service
