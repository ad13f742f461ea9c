#include "platform/linux/wayland/clipboard/DataControlPasteboard.h"

#include "base/AsyncCondition.h"
#include "base/DelayedCall.h"
#include "base/Hop.h"
#include "base/Identifiers.h"
#include "base/Text.h"
#include "platform/linux/wayland/clipboard/DataControl.h"
#include "platform/linux/wayland/clipboard/OwnContent.h"
#include "platform/linux/wayland/clipboard/PipeText.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
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

/// Set by Klipper, KDE's clipboard manager, when it offers what others copied.
constexpr char const* managersType = "application/x-kde-onlyReplaceEmpty";

bool has(ClipboardOffer const& offer, std::string_view type)
{
    return std::ranges::find(offer.types(), type) != offer.types().end();
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
        std::optional<std::string> bytes;
        auto const offer = offered; // It stays readable when the next one arrives.
        if (isOurs()) {
            auto const text = own->find(bestTextType(own->types()));
            bytes = text ? *text : std::string();
        } else if (std::string type = offer ? bestTextType(offer->types()) : std::string(); !type.empty()) {
            bytes = co_await readForm(offer, std::move(type), Pasteboard::maxTextLength, {});
        }
        if (!bytes)
            co_return std::string();
        if (bytes->size() < worthAHop)
            co_return cleaned(std::move(*bytes));
        auto const clean = [&bytes] { return cleaned(std::move(*bytes)); };
        co_return co_await on(contexts.workers, clean);
    }

    Task<std::optional<ClipboardForms>> keep()
    {
        auto const offer = offered;
        ClipboardForms forms;
        if (isOurs())
            co_return own->forms();
        if (!offer)
            co_return forms;
        auto const types = offer->hasAllTypes() ? formsToKeep(offer->types()) : std::nullopt;
        if (!types)
            co_return std::nullopt;
        Instant const deadline = clock.now() + LendableClipboard::keepPatience;
        std::size_t left = LendableClipboard::maxFormsSize;
        for (std::string const& type : *types) {
            Duration const patience = deadline - clock.now();
            PipePatience const both{.silence = patience, .whole = patience};
            auto bytes = co_await readForm(offer, type, left, both);
            if (!bytes)
                co_return std::nullopt;
            left -= bytes->size();
            forms.push_back({type, std::move(*bytes)});
        }
        co_return forms;
    }

    /// Resumes when the compositor has announced our content, or refused it.
    Task<bool> write(std::shared_ptr<OwnContent const> content)
    {
        if (!control)
            co_return false;
        own = std::move(content);
        mark = ownMarkPrefix + randomHex(8);
        lentReaders = 0;
        std::string const wanted = mark;
        std::vector<std::string> types = own->types();
        types.push_back(mark);
        auto next =
            control->own(types, {.send = [this](std::string const& type, int pipe) { send(type, pipe); },
                                 .cancelled = [this, wanted] { cancel(wanted); }});
        source = std::move(next); // The former one ends after its successor began.
        auto const isDecided = [&] { return accepted == wanted || mark != wanted || !control; };
        co_await waitUntil(isDecided, ownPatience);
        co_return accepted == wanted;
    }

    /// Resumes when the compositor has announced that the clipboard is empty.
    Task<bool> clear()
    {
        if (!control)
            co_return false;
        auto const isDecided = [&] { return !offered || !control; };
        control->clear();
        co_await waitUntil(isDecided, ownPatience);
        co_return !offered;
    }

    std::uint64_t readings() const { return begunReadings.load(); }

    Task<bool> waitForReading(std::uint64_t number, Duration patience)
    {
        std::string const wanted = mark;
        auto const isRead = [&] { return begunReadings > number && lentReaders == 0; };
        auto const isDecided = [&] { return isRead() || mark != wanted; };
        co_await waitUntil(isDecided, patience);
        co_return mark == wanted&& isRead();
    }

    Task<> drain()
    {
        auto const isOver = [&] { return readers == 0; };
        co_await waitUntil(isOver, handOverPatience);
    }

private:
    template <class Condition>
    Task<> waitUntil(Condition isOver, Duration patience)
    {
        bool isLate = false;
        DelayedCall deadline(contexts.agent, clock);
        deadline.in(patience, [this, &isLate] { changed.notifyAll([&] { isLate = true; }); });
        auto const isDone = [&] { return isLate || isOver(); };
        while (!isDone())
            co_await changed.wait(isDone);
    }

    /// `nullopt` if it is longer, or the owner is silent or slow.
    Task<std::optional<std::string>> readForm(std::shared_ptr<ClipboardOffer> offer,
                                              std::string type,
                                              std::size_t maxSize,
                                              PipePatience patience)
    {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0)
            co_return std::nullopt;
        offer->receive(type, ends[1]);
        ::close(ends[1]);
        co_return co_await readPipe(contexts.agent, clock, ends[0], maxSize, patience);
    }

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
        auto bytes = own ? own->find(type) : nullptr;
        if (!bytes || readers >= maxReaders) {
            ::close(pipe);
            return;
        }
        bool const isLentText = own->isLent() && isTextType(type);
        ++readers;
        begunReadings += isLentText;
        lentReaders += isLentText;
        writePipe(contexts.agent, clock, pipe, std::move(bytes), {},
                  [self = shared_from_this(), isLentText, of = mark] {
                      self->changed.notifyAll([&] {
                          --self->readers;
                          self->lentReaders -= isLentText && of == self->mark;
                      });
                  });
    }

    /// Another program has the clipboard, or a newer content of ours.
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
    std::shared_ptr<OwnContent const> own;
    std::string mark;     ///< a form that only our latest content has, so that we recognise it
    std::string accepted; ///< the mark of the clipboard's content, if it is ours
    std::deque<ClipboardChange> entries;
    std::atomic<std::int64_t> changes = 0; // any thread
    bool isStarted = false;
    int readers = 0;
    int lentReaders = 0;                          ///< of the text that is lent now
    std::atomic<std::uint64_t> begunReadings = 0; ///< of lent texts; any thread
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

Task<bool> DataControlPasteboard::offer(std::string text, OwnContent::Use use)
{
    auto const prepare = [&text, use] {
        auto cleanText = std::make_shared<std::string const>(cleaned(std::move(text)));
        return std::make_shared<OwnContent const>(std::move(cleanText), use);
    };
    bool const isLong = text.size() >= worthAHop;
    std::shared_ptr<OwnContent const> content;
    if (isLong)
        content = co_await on(contexts.workers, prepare);
    else
        content = prepare();
    auto const write = [engine = engine, content] { return engine->write(content); };
    co_return co_await runOn(contexts.agent, write);
}

Task<bool> DataControlPasteboard::setText(std::string text)
{
    return offer(std::move(text), OwnContent::Use::copied);
}

Task<bool> DataControlPasteboard::lend(std::string text)
{
    return offer(std::move(text), OwnContent::Use::lent);
}

Task<std::optional<ClipboardForms>> DataControlPasteboard::keep()
{
    auto const keepAll = [engine = engine] { return engine->keep(); };
    co_return co_await runOn(contexts.agent, keepAll);
}

std::optional<std::uint64_t> DataControlPasteboard::readings() const
{
    return engine->readings();
}

Task<bool> DataControlPasteboard::waitForReading(std::uint64_t after, Duration patience)
{
    auto const wait = [engine = engine, after, patience] { return engine->waitForReading(after, patience); };
    co_return co_await runOn(contexts.agent, wait);
}

Task<bool> DataControlPasteboard::putBack(ClipboardForms forms)
{
    auto const content = std::make_shared<OwnContent const>(std::move(forms));
    auto const write = [engine = engine, content] {
        return content->types().empty() ? engine->clear() : engine->write(content);
    };
    co_return co_await runOn(contexts.agent, write);
}

Task<> DataControlPasteboard::handOver()
{
    auto const drain = [engine = engine] { return engine->drain(); };
    co_await runOn(contexts.agent, drain);
}

} // namespace zelvo
