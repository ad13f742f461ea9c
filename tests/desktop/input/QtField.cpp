// A window with one text field. Writes what the field holds to FILE, and what is selected to FILE.selection.
#include <QApplication>
#include <QFile>
#include <QFocusEvent>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTimer>

#include <cstdio>

namespace {

void write(QString const& path, QString const& text)
{
    // QSaveFile would wait for the disk, for longer than two clicks may be apart.
    QFile file(path + ".new");
    if (!file.open(QIODevice::WriteOnly))
        return;
    file.write(text.toUtf8());
    file.close();
    std::rename(QFile::encodeName(file.fileName()).constData(), QFile::encodeName(path).constData());
}

class Field : public QPlainTextEdit {
public:
    Field(QString path, QString const& text) : path(std::move(path))
    {
        setPlainText(text);
        // Reports once all pending events are handled.
        soon.setSingleShot(true);
        QObject::connect(&soon, &QTimer::timeout, this, &Field::report);
        auto const wake = [this] { soon.start(); };
        QObject::connect(this, &QPlainTextEdit::textChanged, this, wake);
        QObject::connect(this, &QPlainTextEdit::selectionChanged, this, wake);
        QObject::connect(verticalScrollBar(), &QScrollBar::valueChanged, this, wake);
    }

protected:
    void focusInEvent(QFocusEvent* event) override
    {
        QPlainTextEdit::focusInEvent(event);
        report();
    }

private:
    void report()
    {
        write(path + ".selection", textCursor().selectedText());
        write(path + ".scroll", QString::number(verticalScrollBar()->value()));
        write(path, toPlainText());
    }

    QString path;
    QTimer soon;
};

} // namespace

int main(int count, char** arguments)
{
    QApplication application(count, arguments);
    Field field(QString::fromUtf8(arguments[1]), count > 2 ? QString::fromUtf8(arguments[2]) : QString());
    field.setWindowTitle(QStringLiteral("Qt field"));
    field.resize(700, 400);
    field.show();
    return QApplication::exec();
}
