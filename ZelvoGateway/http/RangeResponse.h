#pragma once

#include "ZelvoGateway/http/HttpMessage.h"

#include <memory>
#include <string>

namespace zelvo::service {

/// Answers with a source, or with the part of it that the request's Range asks for.
/// tag   names the content; a Range whose "If-Range" names another is ignored
HttpResponse rangeResponse(HttpRequest const& request,
                           std::shared_ptr<ByteSource const> source,
                           std::string const& tag,
                           std::string contentType);

} // namespace zelvo::service
