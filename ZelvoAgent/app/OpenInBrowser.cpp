#include "app/OpenInBrowser.h"

#include "base/Task.h"

#include <boost/asio/post.hpp>

namespace zelvo {

void openConsole(AppServices const& services)
{
    // Starting a browser may take a moment of the disk.
    boost::asio::post(services.contexts.workers,
                      [&workspace = services.platform.workspace(),
                       url = services.parts.runtime.consoleUrl()] { workspace.openUrl(url); });
}

} // namespace zelvo
