// A Qt dialog that asks whether to delete, and prints the answer.
#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <cstdio>

namespace {

void say(char const* words)
{
    std::puts(words);
    std::fflush(stdout);
}

} // namespace

int main(int count, char** arguments)
{
    QApplication application(count, arguments);
    QDialog dialog;
    dialog.setWindowTitle(QStringLiteral("Qt letter"));
    auto* const column = new QVBoxLayout(&dialog);
    column->addWidget(new QLabel(QStringLiteral("Is this letter of any use?")));
    auto* const buttons = new QDialogButtonBox;
    auto* const erase = buttons->addButton(QStringLiteral("Delete"), QDialogButtonBox::DestructiveRole);
    auto* const keep = buttons->addButton(QStringLiteral("Cancel"), QDialogButtonBox::RejectRole);
    QObject::connect(erase, &QPushButton::clicked, [] { say("pressed Delete"); });
    QObject::connect(keep, &QPushButton::clicked, [] { say("pressed Cancel"); });
    column->addWidget(buttons);
    dialog.show();
    return QApplication::exec();
}
