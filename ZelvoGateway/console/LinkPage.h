#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/control/LinkService.h"
#include "ZelvoGateway/http/Routes.h"

#include <vector>

namespace zelvo::service {

/// The page behind a link, "/link#CODE", which a person opens in a browser: it opens the program, or says how
/// to get it, and once the link is completed it leads on to the platform. The code is in the fragment, so it
/// is in no log and no Referer; the page sends it in the body of "/link/state".
/// Thread: the server's. Errors: HttpError.
class LinkPage {
public:
    LinkPage(AccessControl const& access, LinkService& links, Settings const& settings)
        : access(access), links(links), settings(settings)
    {
    }

    std::vector<Route> routes();

private:
    Task<HttpResponse> handlePage(HttpRequest request);
    /// {"token"} gives {"status", "expiresAt"}, and "redirectUrl" once the link is completed.
    Task<HttpResponse> handleState(HttpRequest request);

    AccessControl const& access;
    LinkService& links;
    Settings const& settings;
};

} // namespace zelvo::service
