#pragma once

#include <QIcon>

namespace zelvo {

/// The program's icon, which is inside of the program. Thread: main.
QIcon windowIcon();

} // namespace zelvo
