#include "platform/linux/applications/UrlOpening.h"

#include "base/Url.h"
#include "platform/linux/applications/ProgramStart.h"
#include "platform/linux/applications/StartupId.h"

#include <gio/gdesktopappinfo.h>

#include <stdexcept>

namespace zelvo {

namespace {

GPtr<GAppInfo> defaultApplication(std::string const& url)
{
    GText const scheme(g_uri_parse_scheme(url.c_str()));
    if (!scheme)
        return nullptr;
    if (g_ascii_strcasecmp(scheme.get(), "file") != 0)
        return GPtr<GAppInfo>(g_app_info_get_default_for_uri_scheme(scheme.get()));
    GPtr<GFile> const file(g_file_new_for_uri(url.c_str()));
    return GPtr<GAppInfo>(g_file_query_default_handler(file.get(), nullptr, nullptr));
}

bool launch(GAppInfo* application, std::string const& url)
{
    std::string const startupId = newStartupId();
    GList urls{.data = const_cast<char*>(url.c_str()), .next = nullptr, .prev = nullptr};
    bool const viaBus = G_IS_DESKTOP_APP_INFO(application) &&
                        g_desktop_app_info_get_boolean(G_DESKTOP_APP_INFO(application), "DBusActivatable");
    if (viaBus || !G_IS_DESKTOP_APP_INFO(application))
        return g_app_info_launch_uris(application, &urls, startContext(startupId).get(), nullptr);
    try {
        startProgram(application, &urls, startupId);
        return true;
    } catch (std::runtime_error const&) {
        return false;
    }
}

} // namespace

bool openWithDefaultApplication(std::string const& url)
{
    // What a program makes of other texts nobody knows; and C would take one with a NUL for a shorter one.
    if (!isAbsoluteUrl(url))
        return false;
    auto const bus = sharedBus();
    GPtr<GAppInfo> const application = defaultApplication(url);
    return application && launch(application.get(), url);
}

} // namespace zelvo
