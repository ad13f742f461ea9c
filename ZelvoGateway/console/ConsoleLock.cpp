#include "ZelvoGateway/console/ConsoleLock.h"

#include "ZelvoGateway/base/Dates.h"
#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/http/HttpError.h"

namespace zelvo::service {

HttpResponse ConsoleLock::begin(HttpRequest const& request)
{
    access.assertMayBeginSession(request);
    auto const code = read::text(objectOf(request.body), "code");
    if (!code || !store.takeConsoleCode(*code, today()))
        throw HttpError{.status = 401,
                        .code = ErrorCode::unauthorized,
                        .message = "This link is wrong, was used already, or its time is over"};
    std::string const session = access.beginSession(request);
    audit.add(Caller::console(), {.type = "console.login"});
    return jsonResponse(201, json::object{{"session", session}});
}

HttpResponse ConsoleLock::end(HttpRequest const& request)
{
    access.endSession(request);
    audit.add(Caller::console(), {.type = "console.logout"});
    return jsonResponse(200, json::object{{"ok", true}});
}

std::string newConsoleLink(Store& store, std::string const& address, Duration lifetime)
{
    store.forgetExpired(today());
    std::string const code = newSecret();
    store.addConsoleCode(code, today() + dateSpan(lifetime));
    return address + "/open#" + code;
}

} // namespace zelvo::service
