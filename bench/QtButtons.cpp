// A window of many buttons: qt_buttons COUNT.

#include <QApplication>
#include <QGridLayout>
#include <QPushButton>
#include <QScrollArea>

int main(int argc, char** argv)
{
    constexpr int columns = 40;
    QApplication application(argc, argv);
    int const count = argc > 1 ? QString(argv[1]).toInt() : 100;
    QScrollArea area;
    auto* const content = new QWidget;
    auto* const grid = new QGridLayout(content);
    grid->setSpacing(0);
    for (int i = 0; i < count; ++i) {
        auto* const button = new QPushButton(QString("B%1").arg(i));
        button->setAccessibleDescription(QString("Button %1").arg(i));
        button->setFixedSize(44, 22);
        grid->addWidget(button, i / columns, i % columns);
    }
    area.setWidget(content);
    area.resize(1850, 1000);
    area.show();
    return QApplication::exec();
}
