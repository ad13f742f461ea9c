#include "platform/linux/wayland/clipboard/DataControlPasteboard.h"

#include "base/AsyncCondition.h"
#include "base/DelayedCall.h"
#include "base/Hop.h"
#include "base/Identifiers.h"
#include "base/Text.h"
#include "platform/linux/wayland/clipboard/DataControl.h"
#include "platform/linux/wayland/clipboard/PipeText.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <deque>
#include <utility>

namespace zelvo {

namespace {

constexpr Duration ownPatience = 2s;
constexpr Duration handOverPatience = 1500ms;
constexpr std::size_t maxEntries = 64;
constexpr int maxReaders = 64;
constexpr std::size_t worthAHop = 256 << 10;

/// The forms of a text, the best first.
constexpr std::array<char const*, 4> textTypes{"text/plain;charset=utf-8", "UTF8_STRING", "text/plain",
                                               "TEXT"};
/// Set by Klipper, KDE's clipboard manager, when it offers what others copied.
constexpr char const* managersType = "application/x-kde-onlyReplaceEmpty";

bool has(ClipboardOffer const& offer, std::string_view type)
{
    return std::ranges::find(offer.types(), type) != offer.types().end();
}

std::string bestType(ClipboardOffer const& offer)
{
    for (char const* const type : textTypes)
        if (has(offer, type))
            return type;
    // With other parameters, or with the charset written in another way.
    auto const plain = std::ranges::find_if(
        offer.types(), [](std::string const& type) { return type.starts_with("text/plain;"); });
    return plain == offer.types().end() ? std::string() : *plain;
}

std::string cleaned(std::string bytes)
{
    if (bytes.ends_with('\0'))
        bytes.pop_back();
    return text::isUtf8(bytes) ? std::move(bytes) : text::repaired(bytes);
}

} // namespace

/// What happens on the connection. Thread: agent, except where noted.
class DataControlPasteboard::Engine : public std::enable_shared_from_this<Engine> {
public:
    Engine(Contexts given, Clock& clock) : contexts(std::move(given)), clock(clock) {}

    /// Thread: the one that reads the connection.
    void open(std::shared_ptr<WaylandClient> client)
    {
        DataControl::Events calls{
            .selection = [this](std::shared_ptr<ClipboardOffer> offer) { noteSelection(std::move(offer)); },
            .finished = [this] { lose(); }};
        control = DataControl::open(client, std::move(calls));
        client->roundtrip(); // The content from before the start arrives.
        isStarted = true;
    }

    void lose()
    {
        offered.reset();
        source.reset();
        control.reset();
        changed.notifyAll([] {});
    }

    /// Thread: any.
    std::int64_t count() const { return changes.load(); }

    std::vector<ClipboardChange> after(std::int64_t number) const
    {
        std::vector<ClipboardChange> found;
        for (ClipboardChange const& entry : entries)
            if (entry.count > number)
                found.push_back(entry);
        return found;
    }

    Task<std::string> read()
    {
        if (isOurs())
            co_return *own;
        auto const offer = offered; // It stays readable when the next one arrives.
        std::string const type = offer ? bestType(*offer) : std::string();
        int ends[2];
        if (type.empty() || ::pipe2(ends, O_CLOEXEC) != 0)
            co_return std::string();
        offer->receive(type, ends[1]);
        ::close(ends[1]);
        auto bytes = co_await readPipe(contexts.agent, clock, ends[0], Pasteboard::maxTextLength, {});
        if (!bytes)
            co_return std::string();
        if (bytes->size() < worthAHop)
            co_return cleaned(std::move(*bytes));
        auto const clean = [&bytes] { return cleaned(std::move(*bytes)); };
        co_return co_await on(contexts.workers, clean);
    }

    /// Resumes when the compositor has announced our content, or refused it.
    Task<bool> write(std::shared_ptr<std::string const> text)
    {
        if (!control)
            co_return false;
        own = std::move(text);
        mark = "application/x-zelvo-" + randomHex(8);
        std::string const wanted = mark;
        std::vector<std::string> types(textTypes.begin(), textTypes.end());
        types.push_back(mark);
        auto next =
            control->own(types, {.send = [this](std::string const& type, int pipe) { send(type, pipe); },
                                 .cancelled = [this, wanted] { cancel(wanted); }});
        source = std::move(next); // The former one ends after its successor began.
        bool isLate = false;
        DelayedCall deadline(contexts.agent, clock);
        deadline.in(ownPatience, [this, &isLate] { changed.notifyAll([&] { isLate = true; }); });
        auto const isDecided = [&] { return isLate || accepted == wanted || mark != wanted || !control; };
        while (!isDecided())
            co_await changed.wait(isDecided);
        co_return accepted == wanted;
    }

    Task<> drain()
    {
        bool isLate = false;
        DelayedCall deadline(contexts.agent, clock);
        deadline.in(handOverPatience, [this, &isLate] { changed.notifyAll([&] { isLate = true; }); });
        auto const isOver = [&] { return isLate || readers == 0; };
        while (!isOver())
            co_await changed.wait(isOver);
    }

private:
    /// Whether the compositor has our content, whatever was announced meanwhile.
    bool isOurs() const { return source && accepted == mark; }

    void noteSelection(std::shared_ptr<ClipboardOffer> offer)
    {
        offered = std::move(offer);
        bool const isOwn = offered && !mark.empty() && has(*offered, mark);
        if (isOwn)
            accepted = mark;
        else
            accepted.clear();
        if (isStarted)
            ++changes;
        entries.push_back(
            {.count = changes.load(), .isOurs = isOwn, .isManagers = offered && has(*offered, managersType)});
        if (entries.size() > maxEntries)
            entries.pop_front();
        changed.notifyAll([] {});
    }

    void send(std::string const& type, int pipe)
    {
        bool const isText = std::ranges::find(textTypes, type) != textTypes.end();
        if (!isText || !own || readers >= maxReaders) {
            ::close(pipe);
            return;
        }
        ++readers;
        writePipe(contexts.agent, clock, pipe, own, {},
                  [self = shared_from_this()] { self->changed.notifyAll([&] { --self->readers; }); });
    }

    /// Another program has the clipboard, or a newer text of ours.
    void cancel(std::string const& cancelled)
    {
        if (cancelled != mark)
            return;
        source.reset();
        own.reset();
        mark.clear();
        changed.notifyAll([] {});
    }

    Contexts contexts;
    Clock& clock;
    std::shared_ptr<DataControl> control;
    std::shared_ptr<ClipboardOffer> offered;
    std::unique_ptr<ClipboardSource> source;
    std::shared_ptr<std::string const> own;
    std::string mark;     ///< a form that only our latest content has, so that we recognise it
    std::string accepted; ///< the mark of the clipboard's content, if it is ours
    std::deque<ClipboardChange> entries;
    std::atomic<std::int64_t> changes = 0; // any thread
    bool isStarted = false;
    int readers = 0;
    AsyncCondition changed;
};

bool DataControlPasteboard::isOffered(WaylandClient const& client)
{
    return DataControl::isOffered(client);
}

DataControlPasteboard::DataControlPasteboard(Contexts given,
                                             Clock& clock,
                                             std::shared_ptr<WaylandClient> client)
    : contexts(std::move(given)), engine(std::make_shared<Engine>(contexts, clock))
{
    if (!client)
        return;
    engine->open(client);
    events.emplace(contexts, client, engine, [weak = std::weak_ptr(engine)] {
        if (auto const self = weak.lock())
            self->lose();
    });
}

DataControlPasteboard::~DataControlPasteboard() = default;

std::int64_t DataControlPasteboard::changeCount() const
{
    return engine->count();
}

Task<std::vector<ClipboardChange>> DataControlPasteboard::changesAfter(std::int64_t count)
{
    auto const find = [engine = engine, count] { return engine->after(count); };
    co_return co_await on(contexts.agent, find);
}

Task<std::string> DataControlPasteboard::text()
{
    auto const read = [engine = engine] { return engine->read(); };
    co_return co_await runOn(contexts.agent, read);
}

Task<bool> DataControlPasteboard::setText(std::string text)
{
    auto const prepare = [&text] { return std::make_shared<std::string const>(cleaned(std::move(text))); };
    bool const isLong = text.size() >= worthAHop;
    std::shared_ptr<std::string const> offered;
    if (isLong)
        offered = co_await on(contexts.workers, prepare);
    else
        offered = prepare();
    auto const write = [engine = engine, offered] { return engine->write(offered); };
    co_return co_await runOn(contexts.agent, write);
}

Task<> DataControlPasteboard::handOver()
{
    auto const drain = [engine = engine] { return engine->drain(); };
    co_await runOn(contexts.agent, drain);
}

} // namespace zelvo
