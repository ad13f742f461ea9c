#include "ZelvoGateway/http/RangeResponse.h"

#include "ZelvoGateway/http/ByteRange.h"

namespace zelvo::service {

HttpResponse rangeResponse(HttpRequest const& request,
                           std::shared_ptr<ByteSource const> source,
                           std::string const& tag,
                           std::string contentType)
{
    std::string const quoted = "\"" + tag + "\"";
    bool const fits = !request.headers.contains("if-range") || request.header("if-range") == quoted;
    std::string const wanted = fits ? request.header("range") : std::string();
    ByteRange const range = byteRange(wanted, source->size());
    std::string const size = std::to_string(source->size());
    HttpResponse response{.contentType = std::move(contentType)};
    response.headers = {{"Accept-Ranges", "bytes"}, {"ETag", quoted}};
    if (range.kind == ByteRange::Kind::nothing) {
        response.status = 416;
        response.headers.emplace_back("Content-Range", "bytes */" + size);
        return response;
    }
    if (range.kind == ByteRange::Kind::part) {
        response.status = 206;
        std::string const last = std::to_string(range.first + range.length - 1);
        response.headers.emplace_back("Content-Range",
                                      "bytes " + std::to_string(range.first) + "-" + last + "/" + size);
    }
    response.source =
        ByteSourcePart{.source = std::move(source), .offset = range.first, .length = range.length};
    return response;
}

} // namespace zelvo::service
