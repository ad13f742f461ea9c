#pragma once

#include "app/AppServices.h"

namespace zelvo {

/// Opens the welcome window for a person who has not seen it, once. Thread: main.
class WelcomePresenter {
public:
    static constexpr char const* seenKey = "zelvo.welcomeSeen";

    /// Opens the window unless it was seen before or all is set up already. Does nothing when called again.
    void showIfNeeded(AppServices const& services);

private:
    bool wasAsked = false;
};

} // namespace zelvo
