#include "ZelvoGateway/api/Endpoints.h"

namespace zelvo::service {

Route Endpoints::route(std::string_view method,
                       std::vector<std::string_view> pattern,
                       std::size_t maxBody,
                       Check check,
                       Handler handler) const
{
    auto const kept = std::make_shared<Handler const>(std::move(handler));
    Check inHttpToo;
    if (check)
        inHttpToo = [check = std::move(check)](HttpRequest const& head) { inHttp([&] { check(head); }); };
    return {.method = method,
            .pattern = std::move(pattern),
            .maxBody = maxBody,
            .assertAccess = std::move(inHttpToo),
            .answer = [this, kept](HttpRequest request, PathIds ids) {
                return answer(kept.get(), std::move(request), std::move(ids));
            }};
}

Task<HttpResponse> Endpoints::answer(Handler const* handler, HttpRequest request, PathIds ids) const
{
    bool const browser = !AccessControl::hasKey(request);
    try {
        co_return co_await (*handler)(std::move(request), std::move(ids));
    } catch (Failure const& failure) {
        HttpError error = httpErrorOf(failure);
        // A browser repeats a request that was answered with 408, and the person would be asked twice.
        if (error.status == 408 && browser)
            error.status = 504;
        throw error;
    }
}

} // namespace zelvo::service
