#include "app/QtExecutor.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QThread>

#include <cstdio>
#include <deque>
#include <exception>
#include <mutex>

namespace zelvo {

namespace {

QEvent::Type workType()
{
    static auto const type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return type;
}

} // namespace

class QtContext::Receiver final : public QObject {
public:
    bool event(QEvent* event) override
    {
        std::unique_ptr<Work> const work = takeNext(*event);
        if (!work)
            return QObject::event(event);
        ++depth;
        run(*work);
        --depth;
        return true;
    }

    void post(std::unique_ptr<Work> work)
    {
        std::scoped_lock const guard(lock);
        if (isClosed)
            return;
        waiting.push_back(std::move(work));
        QCoreApplication::postEvent(this, new QEvent(workType()));
    }

    void close()
    {
        std::deque<std::unique_ptr<Work>>
            dropped; // Destroyed without the lock, because their destructors may post.
        std::scoped_lock const guard(lock);
        isClosed = true;
        dropped.swap(waiting);
        QCoreApplication::removePostedEvents(this, workType());
    }

    int depth = 0; // main thread

private:
    // One for each event. The lock, not Qt's internals, hands the work from thread to thread, so that the
    // thread sanitizer sees it.
    std::unique_ptr<Work> takeNext(QEvent const& event)
    {
        std::scoped_lock const guard(lock);
        if (event.type() != workType() || waiting.empty())
            return nullptr;
        auto next = std::move(waiting.front());
        waiting.pop_front();
        return next;
    }

    // Nothing may be thrown through the event loop. Tasks report their own failures; what arrives here is a
    // plain function's.
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

    std::mutex lock;
    std::deque<std::unique_ptr<Work>> waiting; // lock
    bool isClosed = false;                     // lock
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
    receiver->close();
}

void QtContext::post(std::unique_ptr<Work> work)
{
    receiver->post(std::move(work));
}

bool QtContext::isRunningHere() const noexcept
{
    return QThread::currentThread() == receiver->thread() && receiver->depth > 0;
}

} // namespace zelvo
