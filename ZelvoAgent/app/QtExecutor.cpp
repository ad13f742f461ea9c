#include "app/QtExecutor.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QThread>

#include <atomic>
#include <cstdio>
#include <exception>

namespace zelvo {

namespace {

QEvent::Type workType()
{
    static auto const type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return type;
}

struct WorkEvent final : QEvent {
    explicit WorkEvent(std::unique_ptr<QtContext::Work> work) : QEvent(workType()), work(std::move(work)) {}
    std::unique_ptr<QtContext::Work> work;
};

} // namespace

class QtContext::Receiver final : public QObject {
public:
    bool event(QEvent* event) override
    {
        if (event->type() != workType())
            return QObject::event(event);
        // Taken out of the event first: a function that opens a nested loop must not be there when that loop
        // runs.
        std::unique_ptr<Work> const work = std::move(static_cast<WorkEvent*>(event)->work);
        ++depth;
        run(*work);
        --depth;
        return true;
    }

    int depth = 0; // main thread
    std::atomic<bool> isClosed = false;

private:
    // Nothing may be thrown through the event loop. Tasks report their own failures; what comes here is a
    // plain function.
    static void run(Work& work)
    {
        try {
            work.run();
        } catch (std::exception const& error) {
            std::fprintf(stderr, "Zelvo: a function on the main thread failed: %s\n", error.what());
        } catch (...) {
            std::fputs("Zelvo: a function on the main thread failed\n", stderr);
        }
    }
};

QtContext::QtContext() : receiver(std::make_unique<Receiver>()) {}

QtContext::~QtContext()
{
    close();
    shutdown();
    destroy();
}

QtExecutor QtContext::executor() noexcept
{
    return QtExecutor(*this);
}

void QtContext::close()
{
    receiver->isClosed = true;
    QCoreApplication::removePostedEvents(receiver.get(), workType());
}

void QtContext::post(std::unique_ptr<Work> work)
{
    if (!receiver->isClosed)
        QCoreApplication::postEvent(receiver.get(), new WorkEvent(std::move(work)));
}

bool QtContext::isRunningHere() const noexcept
{
    return QThread::currentThread() == receiver->thread() && receiver->depth > 0;
}

} // namespace zelvo
