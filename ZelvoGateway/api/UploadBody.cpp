#include "ZelvoGateway/api/UploadBody.h"

#include "ZelvoGateway/http/HttpError.h"
#include "base/Text.h"

#include <charconv>

namespace zelvo::service {

Task<> UploadBody::take(std::string_view piece)
{
    try {
        co_await upload->take(piece);
    } catch (Failure const& failure) {
        throw httpErrorOf(failure);
    }
}

Task<HttpResponse> UploadBody::finish()
{
    try {
        std::string const id = co_await upload->finish();
        co_return jsonResponse(200, json::object{{"recordingId", id}});
    } catch (Failure const& failure) {
        throw httpErrorOf(failure);
    }
}

void assertUploadHead(HttpRequest const& head, std::uint64_t bytes)
{
    HttpError error = badRequest("");
    if (!text::equalIgnoringCase(head.header("content-type"), "video/mp4")) {
        error.status = 415;
        error.message = "A film is sent as video/mp4";
        throw error;
    }
    std::string const announced = head.header("content-length");
    if (announced.empty()) {
        error.status = 411;
        error.message = "The length of a film must be told";
        throw error;
    }
    std::uint64_t length = 0;
    char const* const end = announced.data() + announced.size();
    auto const read = std::from_chars(announced.data(), end, length);
    if (read.ec != std::errc() || read.ptr != end || length != bytes) {
        error.status = length > bytes ? 413 : 400;
        error.message = "The film does not have the size that was announced";
        throw error;
    }
}

} // namespace zelvo::service
