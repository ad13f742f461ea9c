#pragma once

#include <QString>

#include <vector>

class QWidget;

namespace zelvo {

/// Where a person is in a view: which control has the keyboard, and how far its parts are scrolled. A view
/// that is built anew gets it back. Thread: main.
class PlaceInView {
public:
    explicit PlaceInView(QWidget const& view);

    /// Gives the keyboard to the control of the same name, else to the one that took its place. Scrolls when
    /// the view has its layout.
    void restoreIn(QWidget& view) const;

private:
    QString focused; // The control's name.
    int order = -1;  // Its place in the order of Tab; -1 if the keyboard was on none.
    std::vector<int> scrolled;
};

} // namespace zelvo
