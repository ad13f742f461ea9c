#include "app/main_window/ActivityList.h"

#include "app/WrappedLabel.h"
#include "app/main_window/ActivityRowDelegate.h"
#include "app/widgets/ElidedLabel.h"
#include "app/widgets/ScrollColumn.h"
#include "state/ActivityPresentation.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QScrollBar>
#include <QToolTip>

namespace zelvo {

namespace {

constexpr std::size_t maxToolTip = 1000; // Characters.

} // namespace

ActivityList::ActivityList(QWidget* parent)
    : QListView(parent), listModel(new ActivityListModel(this)), delegate(new ActivityRowDelegate(this))
{
    setModel(listModel);
    setItemDelegate(delegate);
    setAccessibleName(worded("main.activity"));
    setFrameShape(QFrame::NoFrame);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBar(new ThinScrollBar(this));
    setResizeMode(QListView::Adjust);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setMouseTracking(true);
    viewport()->setAutoFillBackground(false);
    QObject::connect(this, &QListView::clicked, this, [this](QModelIndex const& index) { toggle(index); });
}

void ActivityList::setEntries(std::span<ActivityEntry const> entries, ActivityFilter filter, Date now)
{
    ActivityEntry const* const current = listModel->entryAt(currentIndex());
    std::string const chosen = current ? current->id : std::string();
    QPersistentModelIndex const first = indexAt(QPoint(1, 1));
    int const before = visualRect(first).top();
    listModel->show(entries, filter, now);
    restore(chosen);
    // At its top the list follows the newest entry; else the rows that are read stay where they are.
    if (verticalScrollBar()->value() > 0 && first.isValid())
        verticalScrollBar()->setValue(verticalScrollBar()->value() + visualRect(first).top() - before);
}

// A row that moved to another day is a new row to the view.
void ActivityList::restore(std::string const& chosen)
{
    QModelIndex const index = listModel->indexOf(chosen);
    if (index.isValid() && index != currentIndex()) {
        setAutoScroll(false);
        setCurrentIndex(index);
        setAutoScroll(true);
    }
    QModelIndex const open = listModel->indexOf(delegate->expanded);
    if (open.isValid() && !isPersistentEditorOpen(open))
        setExpanded(delegate->expanded);
}

std::string const& ActivityList::expanded() const
{
    return delegate->expanded;
}

void ActivityList::setExpanded(std::string const& entryId)
{
    if (QModelIndex const before = listModel->indexOf(delegate->expanded); before.isValid())
        closePersistentEditor(before);
    QModelIndex const next = listModel->indexOf(entryId);
    ActivityEntry const* const entry = listModel->entryAt(next);
    bool const expands = entry && ActivityPresentation::hasDetail(*entry);
    delegate->expanded = expands ? entryId : std::string();
    if (expands)
        openPersistentEditor(next);
    scheduleDelayedItemsLayout();
}

void ActivityList::toggle(QModelIndex const& index)
{
    ActivityEntry const* const entry = listModel->entryAt(index);
    if (!entry || !ActivityPresentation::hasDetail(*entry))
        return;
    setExpanded(entry->id == delegate->expanded ? std::string() : entry->id);
    if (onExpanded)
        onExpanded(delegate->expanded);
}

void ActivityList::keyPressEvent(QKeyEvent* event)
{
    ActivityEntry const* const entry = listModel->entryAt(currentIndex());
    bool const isOpen = entry && entry->id == delegate->expanded;
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
        toggle(currentIndex());
        return;
    case Qt::Key_Right:
    case Qt::Key_Left:
        if (isOpen == (event->key() == Qt::Key_Left))
            toggle(currentIndex());
        return;
    default:
        break;
    }
    if (event->matches(QKeySequence::Copy) && entry && entry->detail)
        QGuiApplication::clipboard()->setText(toQString(*entry->detail));
    else
        QListView::keyPressEvent(event);
}

void ActivityList::resizeEvent(QResizeEvent* event)
{
    QListView::resizeEvent(event);
    scheduleDelayedItemsLayout(); // An expanded text wraps anew.
}

bool ActivityList::viewportEvent(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return QListView::viewportEvent(event);
    auto const& help = static_cast<QHelpEvent const&>(*event);
    QModelIndex const index = indexAt(help.pos());
    ActivityEntry const* const entry = listModel->entryAt(index);
    if (entry)
        QToolTip::showText(help.globalPos(), asToolTip(shownText(entry->summary, maxToolTip)), this,
                           visualRect(index));
    else
        QToolTip::hideText();
    return true;
}

} // namespace zelvo
