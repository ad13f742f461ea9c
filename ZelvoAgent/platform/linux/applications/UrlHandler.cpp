#include "platform/linux/applications/UrlHandler.h"

#include "platform/linux/applications/ProgramStart.h"

#include <gio/gdesktopappinfo.h>

namespace zelvo {

bool makeDefaultHandler(std::filesystem::path const& entry, std::string const& type)
{
    GPtr<GDesktopAppInfo> const application(g_desktop_app_info_new_from_filename(entry.c_str()));
    return application &&
           g_app_info_set_as_default_for_type(G_APP_INFO(application.get()), type.c_str(), nullptr);
}

} // namespace zelvo
