#pragma once

#include "ZelvoGateway/http/HttpMessage.h"

#include <optional>
#include <string>

namespace zelvo::service {

/// The console's page, for those who have the cookie.
HttpResponse consolePage();
/// The page that plays films, for those who have the cookie.
HttpResponse recordingsPage();
/// The page that says how to get in: 401.
HttpResponse lockedPage();
/// The page after a one-time link, which leads on to the console. It is no redirect: a browser that follows
/// one from another site's link would leave a strict cookie out.
HttpResponse enteredPage();
/// A script or style sheet of the pages, by its file name.
std::optional<HttpResponse> consoleFile(std::string const& name);

} // namespace zelvo::service
