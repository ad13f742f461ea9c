#pragma once

#include "app/AppServices.h"
#include "app/widgets/ContentWindow.h"

#include <map>
#include <memory>

namespace zelvo {

/// The windows that are open. Each is made on demand and destroyed when it is closed. Thread: main.
class AppWindows {
public:
    explicit AppWindows(AppServices const& services) : services(services) {}
    ~AppWindows();

    /// Opens a window, or brings it to the front.
    void open(AppWindow which);
    ContentWindow* shown(AppWindow which) const;

private:
    std::unique_ptr<ContentWindow> make(AppWindow which) const;
    void bringToFront(ContentWindow& window) const;
    void forget(AppWindow which);

    AppServices const& services;
    std::map<AppWindow, std::unique_ptr<ContentWindow>> windows;
};

} // namespace zelvo
