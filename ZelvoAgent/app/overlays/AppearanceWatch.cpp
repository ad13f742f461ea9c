#include "app/overlays/AppearanceWatch.h"

#include <QApplication>
#include <QEvent>

#include <utility>

namespace zelvo {

AppearanceWatch::AppearanceWatch(std::function<void()> changed) : changed(std::move(changed))
{
    QApplication::instance()->installEventFilter(this);
}

bool AppearanceWatch::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == QApplication::instance() &&
        (event->type() == QEvent::ApplicationPaletteChange || event->type() == QEvent::ApplicationFontChange))
        changed();
    return false;
}

} // namespace zelvo
