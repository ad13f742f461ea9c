#pragma once

#include <QIcon>

namespace zelvo {

/// The program's icon, which is compiled in. Thread: main.
QIcon windowIcon();

} // namespace zelvo
