#pragma once

#include <QCheckBox>

namespace zelvo {

/// A check box drawn as a switch. Its name is in its accessible name and in the text beside it. Thread: main.
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
