#pragma once

#include "app/widgets/TextLabel.h"

#include <QWidget>

namespace zelvo {

/// One line of plain text that ends in an ellipsis where it does not fit; the whole text is its tool tip
/// then. Thread: main.
class ElidedLabel final : public QWidget {
public:
    ElidedLabel(QString const& text, TextLabel::Size size, TextLabel::Tone tone, QWidget* parent);

    void setShownText(QString const& text);
    QString const& shownText() const { return whole; }
    bool isElided() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QString whole;
};

/// A foreign text as a tool tip, which would else be taken for markup if it looks like it.
QString asToolTip(QString const& text);

} // namespace zelvo
