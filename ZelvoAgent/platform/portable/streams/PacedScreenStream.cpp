#include "platform/portable/streams/PacedScreenStream.h"

#include "base/AsyncCondition.h"
#include "base/Hop.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace zelvo {

namespace {

/// How long pictures may fail before the stream ends.
constexpr Duration patience = 2s;

} // namespace

/// The task that takes pictures, and its settings. It lives until that task ends.
class PacedScreenStream::Loop : public std::enable_shared_from_this<Loop> {
public:
    Loop(PacedStreamParts given,
         std::unique_ptr<ChangeDetector> opened,
         ScreenStreamRequest asked,
         Executor where,
         std::weak_ptr<ScreenStreamOutput> to)
        : parts(std::move(given)), changes(std::move(opened)), interval(asked.minimumFrameInterval),
          queue(std::move(where)), output(std::move(to))
    {
        wishes.picture = std::move(asked.picture);
    }

    void start()
    {
        spawn(parts.contexts.agent, [self = shared_from_this()] { return self->run(); });
    }

    void setFilter(std::optional<std::uint32_t> display, std::set<std::string> excluded)
    {
        changed([&] {
            wishes.picture.display = display.value_or(wishes.picture.display);
            wishes.picture.excluded = std::move(excluded);
        });
    }

    void setWanted(bool wanted)
    {
        changed([&] { wishes.wanted = wanted; });
    }

    void end()
    {
        changed([&] { wishes.ended = true; });
    }

    /// Waits until nothing is being taken or delivered.
    Task<> rest()
    {
        auto const rests = [this] { return !busy; };
        while (!wake.with(rests))
            co_await wake.wait(rests);
    }

private:
    struct Wishes {
        CaptureRequest picture;
        bool wanted = true;
        bool ended = false;
        unsigned version = 1; ///< changes with every setting
    };

    /// Changes the settings; a new picture follows.
    template <class Change>
    void changed(Change change)
    {
        wake.notifyAll([&] {
            change();
            ++wishes.version;
        });
    }

    Wishes current() const
    {
        return wake.with([this] { return wishes; });
    }

    Task<> run()
    {
        Instant due = parts.clock.now();
        while (co_await isWanted()) {
            co_await parts.clock.sleepUntil(due);
            if (Pass const pass(*this); pass.isOurs)
                due = co_await step();
        }
        co_await beToldNothing();
    }

    /// While it exists, pictures may be taken and delivered.
    struct Pass {
        explicit Pass(Loop& loop) : loop(loop), isOurs(loop.begin()) {}
        ~Pass()
        {
            loop.wake.notifyAll([this] { loop.busy = false; });
        }
        Pass(Pass const&) = delete;
        Pass& operator=(Pass const&) = delete;

        Loop& loop;
        bool const isOurs;
    };

    /// Waits until frames are wanted; false if the stream has ended.
    Task<bool> isWanted()
    {
        if (!current().wanted) {
            co_await beToldNothing();
            failingSince.reset();
        }
        co_await wake.wait([this] { return wishes.wanted || wishes.ended; });
        co_return !current().ended;
    }

    Task<> beToldNothing()
    {
        co_await on(parts.contexts.workers, [this] { changes.reset(); });
    }

    bool begin()
    {
        return wake.with([this] { return busy = wishes.wanted && !wishes.ended; });
    }

    /// Checks the screen once; returns when to check next.
    Task<Instant> step()
    {
        Wishes const wished = current();
        Instant started = parts.clock.now();
        if (!co_await looksNew(wished.version))
            co_return started + interval;
        std::optional<Picture> const picture = co_await take(wished.picture);
        // Taking it may have waited until the screen could be read.
        if (Instant const now = parts.clock.now(); now - started > interval)
            started = now;
        if (picture) {
            ScreenFrame const frame{.time = started, .picture = &*picture};
            co_await deliver(frame, wished.version);
        }
        co_return started + interval;
    }

    Task<bool> looksNew(unsigned version)
    {
        auto const hasChanged = [this] {
            if (!changes)
                changes = parts.openChanges();
            return changes && changes->take();
        };
        bool const isChanged = co_await on(parts.contexts.workers, hasChanged);
        if (!changes || !changes->isAlive()) {
            co_await fail({"the screen is gone"});
            co_return false;
        }
        auto screens = parts.source.screens();
        bool const isSame = screens == lastScreens;
        lastScreens = std::move(screens);
        // A change stays new until it is delivered.
        isNew = isNew || isChanged || !isSame || version != delivered;
        co_return isNew;
    }

    bool isThere(std::uint32_t display) const
    {
        return std::ranges::find(lastScreens, display, &Display::id) != lastScreens.end();
    }

    Task<std::optional<Picture>> take(CaptureRequest wanted)
    {
        ScreenFailure failure{"the display is gone"};
        try {
            if (isThere(wanted.display)) {
                Picture picture = co_await parts.source.capture(std::move(wanted));
                failingSince.reset();
                co_return std::move(picture);
            }
        } catch (ScreenFailure const& why) {
            failure = why;
        }
        if (failure.mayShowExcluded) // There are pictures again once the excluded application has ended.
            failingSince.reset();
        else if (!failingSince)
            failingSince = parts.clock.now();
        if (failingSince && parts.clock.now() - *failingSince >= patience)
            co_await fail(std::move(failure));
        co_return std::nullopt;
    }

    Task<> deliver(ScreenFrame frame, unsigned version)
    {
        auto const give = [&] {
            auto const taker = output.lock();
            if (!taker || current().version != version)
                return false;
            taker->frameArrived(frame);
            return true;
        };
        if (co_await on(queue, give)) {
            isNew = false;
            delivered = version;
        } else if (output.expired()) {
            end();
        }
    }

    Task<> fail(ScreenFailure failure)
    {
        auto const report = [&] {
            auto const taker = output.lock();
            if (taker && !current().ended)
                taker->streamStopped(failure);
        };
        co_await on(queue, report);
        end();
    }

    PacedStreamParts parts;
    std::unique_ptr<ChangeDetector> changes; // the loop's; used on the workers
    Duration const interval;
    Executor queue;
    std::weak_ptr<ScreenStreamOutput> output;

    mutable AsyncCondition wake;
    Wishes wishes;     // wake's lock
    bool busy = false; // wake's lock

    // Used by the loop only:
    std::vector<Display> lastScreens;
    std::optional<Instant> failingSince;
    bool isNew = true;
    unsigned delivered = 0;
};

PacedScreenStream::PacedScreenStream(PacedStreamParts parts,
                                     std::unique_ptr<ChangeDetector> changes,
                                     ScreenStreamRequest request,
                                     Executor queue,
                                     std::weak_ptr<ScreenStreamOutput> output)
    : loop(std::make_shared<Loop>(
          std::move(parts), std::move(changes), std::move(request), std::move(queue), std::move(output)))
{
    loop->start();
}

PacedScreenStream::~PacedScreenStream()
{
    loop->end();
}

Task<> PacedScreenStream::updateFilter(std::optional<std::uint32_t> display, std::set<std::string> excluded)
{
    loop->setFilter(display, std::move(excluded));
    co_return;
}

void PacedScreenStream::setWanted(bool wanted)
{
    loop->setWanted(wanted);
}

Task<> PacedScreenStream::stop()
{
    auto const last = loop; // The stream may be destroyed before this task ends.
    last->end();
    co_await last->rest();
}

} // namespace zelvo
