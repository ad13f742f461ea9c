#include "app/widgets/Button.h"

#include "app/Theme.h"
#include "app/widgets/Mnemonics.h"
#include "app/widgets/Spacing.h"
#include "app/widgets/Symbol.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace zelvo {

namespace {

// Points.
constexpr int wideSides = 16;
constexpr int narrowSides = 10;
constexpr int linkSides = 3;
constexpr int above = 7;
constexpr int linkAbove = 3;
constexpr double frameWidth = 1.5;

QString escaped(QString label)
{
    return label.replace('&', "&&");
}

} // namespace

Button::Button(QString const& label, Kind kind, QWidget* parent) : QPushButton(parent), kind(kind)
{
    setLabel(label);
    setAutoDefault(false);
    setCursor(kind == Kind::link ? Qt::PointingHandCursor : Qt::ArrowCursor);
    setCheckable(kind == Kind::chip);
    if (kind == Kind::primary) {
        QFont bold = font();
        bold.setWeight(QFont::DemiBold);
        setFont(bold);
    } else if (kind != Kind::secondary) {
        setFont(Theme::smallFont());
    }
    QSizePolicy policy(kind == Kind::link || kind == Kind::chip ? QSizePolicy::Maximum
                                                                : QSizePolicy::Preferred,
                       QSizePolicy::Minimum);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

void Button::setLabel(QString const& label)
{
    plain = label;
    setText(escaped(label));
    setAccessibleName(label);
    updateGeometry();
}

void Button::setMnemonic(qsizetype place)
{
    setText(escaped(plain.left(place)) + '&' + escaped(plain.mid(place)));
}

Button* Button::onPressed(std::function<void()> call)
{
    QObject::connect(this, &QPushButton::clicked, this, [call = std::move(call)] { call(); });
    return this;
}

void Button::setSymbol(std::string_view name)
{
    symbol = name;
    updateGeometry();
    update();
}

void Button::setTrailingText(QString const& text)
{
    trailing = text;
    updateGeometry();
    update();
}

int Button::side() const
{
    if (kind == Kind::link)
        return linkSides;
    return kind == Kind::chip ? narrowSides : wideSides;
}

int Button::sides() const
{
    int const before = symbol.empty() ? 0 : Symbol::size + spacing::small;
    return 2 * side() + before;
}

int Button::widestWord() const
{
    int widest = 0;
    for (QString const& word : plain.split(' '))
        widest = std::max(widest, fontMetrics().horizontalAdvance(word));
    return widest;
}

bool Button::stacks(int width) const
{
    return !trailing.isEmpty() && width < widestWord() + sides() + trailingWidth();
}

int Button::trailingWidth() const
{
    if (trailing.isEmpty())
        return 0;
    return QFontMetrics(Theme::smallFont()).horizontalAdvance(trailing) + spacing::medium;
}

QSize Button::sizeHint() const
{
    int const lines = kind == Kind::link ? linkAbove : above;
    return {fontMetrics().horizontalAdvance(plain) + sides() + trailingWidth() + 2,
            fontMetrics().height() + 2 * lines};
}

QSize Button::minimumSizeHint() const
{
    return {std::max(widestWord(), trailingWidth()) + sides() + 2, sizeHint().height()};
}

int Button::heightForWidth(int width) const
{
    bool const isStacked = stacks(width);
    QRect const room(0, 0, std::max(1, width - sides() - (isStacked ? 0 : trailingWidth())), 10'000);
    int const lines = kind == Kind::link ? linkAbove : above;
    int const below = isStacked ? QFontMetrics(Theme::smallFont()).height() : 0;
    return fontMetrics().boundingRect(room, Qt::TextWordWrap, plain).height() + below + 2 * lines;
}

QColor Button::letterColor() const
{
    Theme const theme(palette());
    if (!isEnabled())
        return theme.secondary;
    switch (kind) {
    case Kind::primary:
        return theme.onAccent;
    case Kind::link:
        return theme.accent;
    case Kind::chip:
        return isChecked() ? palette().windowText().color() : theme.secondary;
    case Kind::secondary:
        break;
    }
    return palette().windowText().color();
}

QColor Button::groundColor() const
{
    Theme const theme(palette());
    bool const isTouched = isEnabled() && (isDown() || underMouse());
    if (kind == Kind::primary) {
        if (!isEnabled())
            return theme.line;
        int const darkening = isDown() ? 130 : 115; // Percent.
        return isTouched ? theme.accent.darker(theme.dark ? 90 : darkening) : theme.accent;
    }
    if (isTouched && kind != Kind::link)
        return isDown() ? theme.line.darker(theme.dark ? 85 : 110) : theme.line;
    return kind == Kind::chip && isChecked() ? theme.line : QColor(Qt::transparent);
}

QColor Button::lineColor() const
{
    Theme const theme(palette());
    if (hasFocus())
        return kind == Kind::primary ? palette().windowText().color() : theme.accent;
    if (kind == Kind::primary)
        return groundColor();
    return kind == Kind::secondary ? theme.line : QColor(Qt::transparent);
}

void Button::drawFrame(QPainter& painter) const
{
    double const inset = frameWidth / 2;
    QRectF const frame = QRectF(rect()).adjusted(inset, inset, -inset, -inset);
    painter.setBrush(groundColor());
    painter.setPen(QPen(lineColor(), frameWidth));
    double const radius = kind == Kind::chip ? std::min(frame.height() / 2, 14.0) : spacing::buttonRadius;
    painter.drawRoundedRect(frame, radius, radius);
}

void Button::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    drawFrame(painter);

    QRect room = rect().adjusted(side(), 0, -side(), 0);
    QColor const letters = letterColor();
    if (!symbol.empty()) {
        QRectF const place(room.left(), room.center().y() - Symbol::size / 2.0 + 0.5, Symbol::size,
                           Symbol::size);
        Symbol::draw(painter, symbol, place, letters);
        room.setLeft(room.left() + Symbol::size + spacing::small);
    }
    painter.setPen(letters);
    if (!trailing.isEmpty()) {
        painter.setFont(Theme::smallFont());
        bool const isStacked = stacks(width());
        QRect const place = isStacked ? room.adjusted(0, 0, 0, -above) : room;
        Qt::Alignment const alignment =
            isStacked ? Qt::AlignLeading | Qt::AlignBottom : Qt::AlignTrailing | Qt::AlignVCenter;
        painter.drawText(place, static_cast<int>(alignment.toInt()) | Qt::TextSingleLine, trailing);
        if (isStacked)
            room.setBottom(room.bottom() - QFontMetrics(Theme::smallFont()).height());
        else
            room.setRight(room.right() - trailingWidth());
    }
    painter.setFont(font());
    bool const underlines = window()->property(showsMnemonics).toBool();
    int const mnemonic = underlines ? Qt::TextShowMnemonic : Qt::TextHideMnemonic;
    bool const leads = !symbol.empty() || !trailing.isEmpty();
    Qt::Alignment const alignment = (leads ? Qt::AlignLeading : Qt::AlignHCenter) | Qt::AlignVCenter;
    painter.drawText(room, static_cast<int>(alignment.toInt()) | Qt::TextWordWrap | mnemonic, text());
}

void Button::enterEvent(QEnterEvent* event)
{
    QPushButton::enterEvent(event);
    update();
}

void Button::leaveEvent(QEvent* event)
{
    QPushButton::leaveEvent(event);
    update();
}

} // namespace zelvo
