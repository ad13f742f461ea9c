#include "ZelvoGateway/api/IdempotentRoutes.h"
#include "ZelvoGateway/api/Lists.h"
#include "ZelvoGateway/http/HttpError.h"

#include <cstdint>
#include <cstdlib>

// What a caller may write into the target and the headers of a request: the first line is the target, the
// second an idempotency key.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace zelvo::service;
    std::string_view const text(reinterpret_cast<char const*>(data), size);
    std::size_t const end = std::min(text.find('\n'), text.size());
    HttpRequest request;
    request.headers.emplace("idempotency-key", text.substr(std::min(end + 1, text.size())));
    try {
        if (readTarget(text.substr(0, end), request)) {
            PageQuery const query = pageQueryIn(request);
            if (query.limit < 1 || query.limit > maxListed)
                std::abort();
            if (query.before && pageCursorFrom(textOf(*query.before)) != query.before)
                std::abort(); // What we accept, we can write and read again.
        }
    } catch (HttpError const&) {
    }
    try {
        auto const key = idempotencyKeyIn(request);
        if (!key || key->empty() || key->size() > 255)
            std::abort();
    } catch (HttpError const&) {
    }
    return 0;
}
