// A Qt window with an element of each interactive role; with --question, a message box.
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDial>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QSpinBox>
#include <QStatusBar>
#include <QTabWidget>
#include <QTableWidget>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

QString text(char const* plain)
{
    return QString::fromUtf8(plain);
}

template <class Widget>
Widget* named(Widget* widget, char const* name)
{
    widget->setAccessibleName(text(name));
    return widget;
}

QWidget* buttons()
{
    auto* box = new QGroupBox(text("Buttons"));
    auto* column = new QVBoxLayout(box);
    auto* push = new QPushButton(text("Push"));
    push->setAccessibleDescription(text("A plain button"));
    push->setToolTip(text("Pushes"));
    column->addWidget(push);
    auto* grey = new QPushButton(text("Grey"));
    grey->setEnabled(false);
    column->addWidget(grey);
    auto* toggle = new QPushButton(text("Toggle"));
    toggle->setCheckable(true);
    column->addWidget(toggle);
    auto* check = new QCheckBox(text("Check"));
    check->setChecked(true);
    column->addWidget(check);
    column->addWidget(new QRadioButton(text("First")));
    column->addWidget(new QRadioButton(text("Second")));
    auto* tool = new QToolButton;
    tool->setText(text("Tool"));
    auto* menu = new QMenu(tool);
    menu->addAction(text("Tool item"));
    tool->setMenu(menu);
    tool->setPopupMode(QToolButton::InstantPopup);
    column->addWidget(tool);
    return box;
}

QWidget* fields()
{
    auto* box = new QWidget;
    auto* form = new QFormLayout(box);
    auto* line = new QLineEdit(text("typed text"));
    form->addRow(text("&Name"), line);
    auto* password = new QLineEdit(text("secret"));
    password->setEchoMode(QLineEdit::Password);
    form->addRow(text("&Password"), password);
    auto* fixed = new QComboBox;
    fixed->addItems({text("red"), text("green"), text("blue")});
    form->addRow(text("Fixed"), fixed);
    auto* open = new QComboBox;
    open->setEditable(true);
    open->addItems({text("one"), text("two")});
    form->addRow(text("Open"), open);
    auto* spin = new QSpinBox;
    spin->setValue(7);
    form->addRow(text("Number"), spin);
    auto* slider = new QSlider(Qt::Horizontal);
    slider->setValue(30);
    form->addRow(text("Slide"), slider);
    form->addRow(text("Dial"), named(new QDial, "Dial"));
    auto* progress = new QProgressBar;
    progress->setValue(40);
    form->addRow(text("Progress"), progress);
    form->addRow(named(new QPlainTextEdit(text("several\nlines")), "Notes"));
    auto* link = new QLabel(text("<a href='https://example.org/'>Linked words</a>"));
    form->addRow(link);
    return box;
}

QWidget* views()
{
    auto* box = new QWidget;
    auto* row = new QHBoxLayout(box);
    auto* list = named(new QListWidget, "List");
    for (int i = 0; i < 40; ++i)
        list->addItem(QStringLiteral("Line %1").arg(i));
    row->addWidget(list);
    auto* tree = named(new QTreeWidget, "Tree");
    tree->setHeaderLabels({text("Node")});
    auto* trunk = new QTreeWidgetItem(tree, {text("Trunk")});
    new QTreeWidgetItem(trunk, {text("Branch")});
    tree->expandAll();
    row->addWidget(tree);
    auto* table = named(new QTableWidget(2, 2), "Table");
    table->setHorizontalHeaderLabels({text("Left"), text("Right")});
    for (int i = 0; i < 4; ++i)
        table->setItem(i / 2, i % 2, new QTableWidgetItem(QStringLiteral("Cell %1").arg(i)));
    row->addWidget(table);
    return box;
}

void fillMenus(QMainWindow& window)
{
    QMenu* file = window.menuBar()->addMenu(text("&File"));
    file->addAction(text("&Open..."));
    QMenu* recent = file->addMenu(text("Recent"));
    recent->addAction(text("Old document"));
    file->addSeparator();
    QAction* wrap = file->addAction(text("Wrap lines"));
    wrap->setCheckable(true);
    window.menuBar()->addMenu(text("&Help"))->addAction(text("About"));
    QToolBar* bar = window.addToolBar(text("Main tools"));
    bar->addAction(text("Run"));
    window.statusBar()->showMessage(text("Ready"));
}

int askQuestion()
{
    QMessageBox box(QMessageBox::Question, text("Qt question"), text("Delete all?"));
    box.addButton(text("Delete"), QMessageBox::AcceptRole);
    box.addButton(text("Keep"), QMessageBox::RejectRole);
    return box.exec();
}

} // namespace

int main(int count, char** arguments)
{
    QApplication const application(count, arguments);
    if (QApplication::arguments().contains(text("--question")))
        return askQuestion();
    QMainWindow window;
    window.setWindowTitle(text("Qt form"));
    fillMenus(window);
    auto* central = new QWidget;
    auto* column = new QVBoxLayout(central);
    auto* upper = new QHBoxLayout;
    upper->addWidget(buttons());
    upper->addWidget(fields());
    column->addLayout(upper);
    auto* tabs = new QTabWidget;
    tabs->addTab(views(), text("Views"));
    tabs->addTab(new QLabel(text("Hidden words")), text("Other"));
    column->addWidget(tabs);
    window.setCentralWidget(central);
    window.resize(900, 800);
    window.show();
    return QApplication::exec();
}
