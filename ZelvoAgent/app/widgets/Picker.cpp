#include "app/widgets/Picker.h"

#include "app/Theme.h"
#include "app/widgets/Spacing.h"
#include "app/widgets/Symbol.h"

#include <QPainter>
#include <QWheelEvent>

#include <algorithm>

namespace zelvo {

namespace {

// Points.
constexpr int side = 10;
constexpr int above = 6;
constexpr int arrow = 20;
constexpr double frameWidth = 1.5;
constexpr int fewestCharacters = 8;

} // namespace

Picker::Picker(QString const& accessibleName, QWidget* parent) : QComboBox(parent)
{
    setAccessibleName(accessibleName);
    setFocusPolicy(Qt::StrongFocus);
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    // A screen reader speaks the label and the description, not the name.
    QObject::connect(this, &QComboBox::currentTextChanged, this,
                     [this](QString const& text) { setAccessibleDescription(text); });
}

void Picker::onChosen(std::function<void(int)> call)
{
    QObject::connect(this, &QComboBox::activated, this, [call = std::move(call)](int index) { call(index); });
}

QSize Picker::sizeHint() const
{
    int widest = 0;
    for (int i = 0; i < count(); ++i)
        widest = std::max(widest, fontMetrics().horizontalAdvance(itemText(i)));
    return {widest + 2 * side + arrow, fontMetrics().height() + 2 * above};
}

QSize Picker::minimumSizeHint() const
{
    return {fontMetrics().averageCharWidth() * fewestCharacters + 2 * side + arrow, sizeHint().height()};
}

int Picker::heightForWidth(int width) const
{
    QRect const room(0, 0, std::max(1, width - 2 * side - arrow), 10'000);
    return fontMetrics().boundingRect(room, Qt::TextWordWrap, currentText()).height() + 2 * above;
}

void Picker::paintEvent(QPaintEvent*)
{
    Theme const theme(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    double const inset = frameWidth / 2;
    painter.setBrush(underMouse() && isEnabled() ? theme.line : QColor(Qt::transparent));
    painter.setPen(QPen(hasFocus() ? theme.accent : theme.line, frameWidth));
    painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), spacing::buttonRadius,
                            spacing::buttonRadius);
    painter.setPen(isEnabled() ? palette().windowText().color() : theme.secondary);
    QRect const room = rect().adjusted(side, 0, -side - arrow, 0);
    QString const shown = currentIndex() < 0 ? placeholderText() : currentText();
    painter.drawText(room, Qt::AlignLeading | Qt::AlignVCenter | Qt::TextWordWrap, shown);
    QRectF const place(width() - side - Symbol::size + 2, (height() - Symbol::size) / 2.0, Symbol::size,
                       Symbol::size);
    Symbol::draw(painter, "chevron.down", place, theme.secondary);
}

void Picker::wheelEvent(QWheelEvent* event)
{
    event->ignore();
}

} // namespace zelvo
