#pragma once

#include <QWidget>

#include <string>
#include <vector>

namespace zelvo::test {

/// What of a window's visible content is cut off or covered by something else, one line each.
std::vector<std::string> layoutFaults(QWidget& window);

} // namespace zelvo::test
