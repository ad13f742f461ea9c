#pragma once

#include "app/AppServices.h"

namespace zelvo {

/// Opens the web console, where connections are made and changed, in the person's browser. Thread: main.
void openConsole(AppServices const& services);

} // namespace zelvo
