#pragma once

#include "ZelvoGateway/http/AccessControl.h"
#include "ZelvoGateway/http/HttpMessage.h"

#include <optional>
#include <string>
#include <string_view>

namespace zelvo::service {

// The pages hold nothing secret; what they show they ask for with their session.

/// The console's page.
HttpResponse consolePage();
/// The page that plays recordings.
HttpResponse recordingsPage();
/// The page of API keys.
HttpResponse apiKeysPage();
/// The page that shows the API.
HttpResponse docsPage();
/// The page that explains how to get in.
HttpResponse lockedPage();
/// The page behind a one-time link, which begins a session and leads on to the console.
HttpResponse openPage();
/// The page behind a link, before it is filled; see filledPage().
std::string_view linkPageTemplate();
/// Where a page that was opened at "localhost" is at home; nullopt if it was not.
std::optional<HttpResponse> redirectToHome(AccessControl const& access, HttpRequest const& request);
/// A script or style sheet of the pages, by its file name; nullopt if there is none.
std::optional<HttpResponse> consoleFile(std::string const& name);

} // namespace zelvo::service
