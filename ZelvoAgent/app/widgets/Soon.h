#pragma once

#include <QObject>

#include <functional>
#include <utility>

namespace zelvo {

/// Calls a function once, as soon as the event loop comes to it, however often it is asked to before. State
/// changes come in bursts, and a window need not follow each. Thread: main.
class Soon final : public QObject {
public:
    explicit Soon(std::function<void()> call) : call(std::move(call)) {}

    void operator()()
    {
        if (std::exchange(isPending, true))
            return;
        QMetaObject::invokeMethod(
            this,
            [this] {
                isPending = false;
                call();
            },
            Qt::QueuedConnection);
    }

private:
    std::function<void()> call;
    bool isPending = false;
};

} // namespace zelvo
