#pragma once

#include "desktop/harness/PrivateSession.h"

namespace zelvo {

/// Starts an editor full of text. Its window appears later.
void openEditor(test::PrivateSession& desktop);

} // namespace zelvo
