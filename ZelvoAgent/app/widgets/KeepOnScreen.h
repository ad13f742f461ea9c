#pragma once

class QWidget;

namespace zelvo {

/// Moves a window to the first monitor when so little of it is left on the monitors that a person cannot get
/// hold of it, whenever monitors come, go or change, as long as the window exists. Thread: main.
void keepOnScreen(QWidget& window);

} // namespace zelvo
