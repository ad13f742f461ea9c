#pragma once

#include "ZelvoGateway/http/HttpMessage.h"

#include <optional>
#include <string>

namespace zelvo::service {

// The pages hold nothing secret; what they show they ask for with their session.

/// The console's page.
HttpResponse consolePage();
/// The page that plays recordings.
HttpResponse recordingsPage();
/// The page that explains how to get in.
HttpResponse lockedPage();
/// The page behind a one-time link, which begins a session and leads on to the console.
HttpResponse openPage();
/// A script or style sheet of the pages, by its file name; nullopt if there is none.
std::optional<HttpResponse> consoleFile(std::string const& name);

} // namespace zelvo::service
