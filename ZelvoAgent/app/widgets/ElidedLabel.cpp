#include "app/widgets/ElidedLabel.h"

#include "app/Theme.h"

#include <QApplication>
#include <QPainter>

#include <algorithm>

namespace zelvo {

namespace {

constexpr int fewestCharacters = 6; // A narrower label says nothing.

} // namespace

ElidedLabel::ElidedLabel(QString const& text, TextLabel::Size size, TextLabel::Tone tone, QWidget* parent)
    : QWidget(parent)
{
    TextLabel const model(QString(), size, tone, nullptr);
    setFont(model.font());
    QPalette colored = palette();
    colored.setColor(QPalette::WindowText, model.palette().color(QPalette::WindowText));
    setPalette(colored);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setShownText(text);
}

void ElidedLabel::setShownText(QString const& text)
{
    if (whole == text)
        return;
    whole = text;
    setAccessibleName(text);
    setToolTip(isElided() ? asToolTip(whole) : QString());
    updateGeometry();
    update();
}

bool ElidedLabel::isElided() const
{
    return fontMetrics().horizontalAdvance(whole) > width();
}

QSize ElidedLabel::sizeHint() const
{
    return {fontMetrics().horizontalAdvance(whole) + 1, fontMetrics().height()};
}

QSize ElidedLabel::minimumSizeHint() const
{
    int const least = fontMetrics().averageCharWidth() * fewestCharacters;
    return {std::min(sizeHint().width(), least), fontMetrics().height()};
}

void ElidedLabel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::WindowText));
    QString const shown = fontMetrics().elidedText(whole, Qt::ElideRight, width());
    painter.drawText(rect(), Qt::AlignLeading | Qt::AlignVCenter | Qt::TextSingleLine, shown);
}

void ElidedLabel::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    setToolTip(isElided() ? asToolTip(whole) : QString());
}

QString asToolTip(QString const& text)
{
    return "<span>" + text.toHtmlEscaped() + "</span>";
}

} // namespace zelvo
