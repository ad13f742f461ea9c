#pragma once

#include "ZelvoGateway/http/HttpMessage.h"

#include <optional>
#include <string>

namespace zelvo::service {

/// The console's page. Needs the cookie.
HttpResponse consolePage();
/// The page that plays recordings. Needs the cookie.
HttpResponse recordingsPage();
/// The page that explains how to get in: 401.
HttpResponse lockedPage();
/// The page behind a one-time link, which leads on to the console. Not a redirect: after a link on another
/// site, a browser would follow it without the strict cookie.
HttpResponse enteredPage();
/// A script or style sheet of the pages, by its file name; nullopt if there is none.
std::optional<HttpResponse> consoleFile(std::string const& name);

} // namespace zelvo::service
