#pragma once

#include "app/widgets/ContentWindow.h"

namespace zelvo {

/// A window as large as its content. Where the screen is lower than that, the content scrolls. Thread: main.
class FittedWindow : public ContentWindow {
public:
    using ContentWindow::ContentWindow;

protected:
    /// Builds the content, whose width is fixed.
    virtual QWidget* newColumn() = 0;
    QWidget* newContent() final;
};

} // namespace zelvo
