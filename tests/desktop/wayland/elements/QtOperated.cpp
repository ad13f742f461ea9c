// operated.py by Qt.
#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <cstdio>

namespace {

void say(QString const& words)
{
    std::puts(words.toUtf8().constData());
    std::fflush(stdout);
}

QPushButton* addButton(QVBoxLayout& column, QString const& label)
{
    auto* const button = new QPushButton(label);
    QObject::connect(button, &QPushButton::clicked, [button] { say("pressed " + button->text()); });
    column.addWidget(button);
    return button;
}

} // namespace

int main(int count, char** arguments)
{
    QApplication application(count, arguments);
    QWidget window;
    window.setWindowTitle(QStringLiteral("Operated"));
    auto* const column = new QVBoxLayout(&window);
    auto* const field = new QLineEdit;
    field->setAccessibleName(QStringLiteral("Name"));
    QObject::connect(field, &QLineEdit::textChanged, [](QString const& text) { say("text " + text); });
    column->addWidget(field);
    auto* const show = addButton(*column, QStringLiteral("Show"));
    auto* const send = addButton(*column, QStringLiteral("Send"));
    QObject::connect(addButton(*column, QStringLiteral("Swap")), &QPushButton::clicked, [show, send] {
        QString const first = show->text();
        show->setText(send->text());
        send->setText(first);
    });
    window.resize(400, 300);
    window.show();
    return QApplication::exec();
}
