#pragma once

#include <string>

namespace zelvo {

/// Opens a URL with the default application of its scheme, as the desktop's own tools do, with a startup id.
/// The program that is started stands on its own: it is no child of ours and has none of our descriptors,
/// blocked or ignored signals. Blocks for some milliseconds. Thread: any. False when nothing takes the URL,
/// and for a text that is no URL with a scheme.
bool openWithDefaultApplication(std::string const& url);

} // namespace zelvo
