// A Qt window of plain colours. Each element named "swatch RRGGBB" is drawn in that colour alone.
#include <QApplication>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPaintEvent>
#include <QPainter>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTimer>
#include <QVBoxLayout>

namespace {

QPushButton* swatch(QString const& color)
{
    auto* button = new QPushButton;
    button->setStyleSheet(QStringLiteral("background: #%1; border: none;").arg(color));
    button->setFixedSize(60, 26);
    button->setAccessibleName("swatch " + color);
    return button;
}

/// Its items are plain colours too.
class SwatchMenu : public QMenu {
public:
    explicit SwatchMenu(QStringList const& colors) : QMenu(QStringLiteral("Swatches"))
    {
        for (QString const& color : colors)
            addAction("swatch " + color)->setData(color);
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override
    {
        QPainter painter(this);
        for (QAction* action : actions())
            painter.fillRect(actionGeometry(action), QColor("#" + action->data().toString()));
    }
};

QHBoxLayout* row(QStringList const& colors)
{
    auto* layout = new QHBoxLayout;
    for (QString const& color : colors)
        layout->addWidget(swatch(color));
    layout->addStretch();
    return layout;
}

QScrollArea* scrolled()
{
    auto* inside = new QWidget;
    auto* column = new QVBoxLayout(inside);
    for (int i = 0; i < 30; ++i)
        column->addWidget(swatch(QStringLiteral("%1").arg(i * 8, 2, 16, QChar('0')) + "80c0"));
    auto* area = new QScrollArea;
    area->setWidget(inside);
    return area;
}

} // namespace

int main(int count, char** arguments)
{
    QApplication const application(count, arguments);
    QMainWindow window;
    window.setWindowTitle(QStringLiteral("Qt swatches"));
    SwatchMenu menu({"ff8800", "0088ff", "88ff00"});
    window.menuBar()->addMenu(&menu);
    auto* central = new QWidget;
    auto* column = new QVBoxLayout(central);
    column->setContentsMargins(220, 9, 9, 9); // Right of where the menu opens.
    column->addLayout(row({"ff0000", "ff3333"}));
    column->addLayout(row({"00ff00", "33ff33"}));
    column->addLayout(row({"0000ff", "3333ff"}));
    QScrollArea* area = scrolled();
    column->addWidget(area);
    window.setCentralWidget(central);
    window.resize(420, 300);
    window.show();
    QTimer::singleShot(300, [area] { area->verticalScrollBar()->setValue(100); });
    return QApplication::exec();
}
