#include "app/WindowIcon.h"

#include "base/EmbeddedFile.h"

#include <QPixmap>

namespace zelvo {

extern EmbeddedFile const embedded_icon_png;

QIcon windowIcon()
{
    QPixmap picture;
    picture.loadFromData(embedded_icon_png.data, static_cast<uint>(embedded_icon_png.size), "PNG");
    return picture;
}

} // namespace zelvo
