#pragma once

#include <QComboBox>

#include <functional>

namespace zelvo {

/// A choice out of a list, in this program's look. A long choice wraps. Thread: main.
class Picker final : public QComboBox {
public:
    Picker(QString const& accessibleName, QWidget* parent);

    /// Connects a choice of the person; not called for changes by the program.
    void onChosen(std::function<void(int index)> call);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    /// A wheel that scrolls the window must not change a choice on its way.
    void wheelEvent(QWheelEvent* event) override;
};

} // namespace zelvo
