#pragma once

#include "state/ActivityEntry.h"

#include <QWidget>

namespace zelvo {

/// The long text of an expanded row of the activity log. Of a command: the command and its output, which can
/// be selected and copied, its folder and its variables. Thread: main.
class ActivityDetail final : public QWidget {
public:
    ActivityDetail(ActivityEntry const& entry, QWidget* parent);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void addCode(QString const& text);
    void addLine(QString const& text);

    QString code;
};

} // namespace zelvo
