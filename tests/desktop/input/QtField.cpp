// A window with one text field. Writes what the field holds to FILE, and what is selected to FILE.selection.
#include <QApplication>
#include <QFile>
#include <QFocusEvent>
#include <QPlainTextEdit>
#include <QSaveFile>
#include <QScrollBar>

namespace {

void write(QString const& path, QString const& text)
{
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(text.toUtf8());
        file.commit();
    }
}

class Field : public QPlainTextEdit {
public:
    Field(QString path, QString const& text) : path(std::move(path))
    {
        setPlainText(text);
        QObject::connect(this, &QPlainTextEdit::textChanged, this, &Field::report);
        QObject::connect(this, &QPlainTextEdit::selectionChanged, this, &Field::report);
        QObject::connect(verticalScrollBar(), &QScrollBar::valueChanged, this, &Field::report);
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
