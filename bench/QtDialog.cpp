// A window with a button that opens a dialog of thirty choices. Escape closes the dialog.

#include <QApplication>
#include <QCheckBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

void openDialog(QWidget* parent)
{
    auto* const dialog = new QDialog(parent);
    dialog->setWindowTitle("Choices");
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    auto* const grid = new QGridLayout;
    for (int number = 0; number < 30; ++number)
        grid->addWidget(new QCheckBox(QString("Choice %1").arg(number)), number / 3, number % 3);
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    QObject::connect(buttons, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    auto* const column = new QVBoxLayout(dialog);
    column->addLayout(grid);
    column->addWidget(buttons);
    dialog->open();
}

} // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QWidget window;
    window.setWindowTitle("Opener");
    window.resize(900, 700);
    auto* const column = new QVBoxLayout(&window);
    auto* const button = new QPushButton("Open choices");
    column->addWidget(button, 0, Qt::AlignLeft | Qt::AlignTop);
    QObject::connect(button, &QPushButton::clicked, &window, [&window] { openDialog(&window); });
    window.show();
    return QApplication::exec();
}
