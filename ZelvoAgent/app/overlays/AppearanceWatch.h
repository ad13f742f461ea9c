#pragma once

#include <QObject>

#include <functional>

namespace zelvo {

/// Reports when the desktop's colours or fonts change, for what is no widget. Thread: main.
class AppearanceWatch final : public QObject {
public:
    explicit AppearanceWatch(std::function<void()> changed);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::function<void()> changed;
};

} // namespace zelvo
