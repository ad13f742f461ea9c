#pragma once

#include <QCheckBox>

namespace zelvo {

/// A check box that is drawn as a switch. Its name is said by its accessible name and by the text beside it.
/// Thread: main.
class SwitchButton final : public QCheckBox {
public:
    SwitchButton(QString const& accessibleName, QWidget* parent);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool hitButton(QPoint const& position) const override;
    void paintEvent(QPaintEvent* event) override;
};

} // namespace zelvo
