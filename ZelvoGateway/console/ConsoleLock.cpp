#include "ZelvoGateway/console/ConsoleLock.h"

#include "ZelvoGateway/base/Dates.h"
#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/console/ConsolePages.h"

namespace zelvo::service {

HttpResponse ConsoleLock::open(HttpRequest const& request)
{
    if (!store.takeConsoleCode(request.queryItem("code"), today()))
        return lockedPage();
    HttpResponse response = enteredPage();
    response.headers.emplace_back("Set-Cookie", access.newCookie());
    return response;
}

std::string newConsoleLink(Store& store, std::string const& address, Duration lifetime)
{
    store.forgetExpired(today());
    std::string const code = newSecret();
    store.addConsoleCode(code, today() + dateSpan(lifetime));
    return address + "/open?code=" + code;
}

} // namespace zelvo::service
