#include "platform/portable/settings/FileUserDefaults.h"

#include "base/Text.h"
#include "platform/portable/files/Files.h"
#include "platform/portable/settings/SettingsVersion.h"
#include "wire/Json.h"

#include <boost/asio/any_completion_handler.hpp>
#include <boost/asio/associated_executor.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <list>
#include <map>
#include <mutex>

namespace zelvo {

namespace {

constexpr std::size_t maxFile = 64u << 20;
constexpr std::size_t maxKeyLength =
    200; // With what is added to it a name stays below the 255 bytes of file systems.

bool isKey(std::string_view key)
{
    if (key.empty() || key.size() > maxKeyLength || key.front() == '.')
        return false;
    return std::ranges::none_of(key, [](char c) {
        auto const byte = static_cast<unsigned char>(c);
        return c == '/' || byte < 0x20 || byte == 0x7f;
    });
}

} // namespace

class FileUserDefaults::Store : public std::enable_shared_from_this<Store> {
public:
    using Resume = asio::any_completion_handler<void()>;

    Store(Executor workers, std::filesystem::path folder)
        : workers(std::move(workers)), folder(std::move(folder))
    {
    }

    std::optional<std::string> content(std::string_view key)
    {
        if (!isKey(key))
            return std::nullopt;
        std::scoped_lock guard(lock);
        Entry& entry = entries[std::string(key)];
        if (!entry.setNumber)
            refresh(entry, pathOf(key));
        return entry.content;
    }

    void set(std::string_view key, std::string content)
    {
        if (!isKey(key))
            return;
        std::scoped_lock guard(lock);
        Entry& entry = entries[std::string(key)];
        entry.content = std::move(content);
        entry.setNumber = ++lastSet;
        if (std::exchange(isWriting, true))
            return;
        asio::post(workers, [self = shared_from_this()] { self->writeRounds(); });
    }

    void resumeWhenWritten(Resume resume)
    {
        {
            std::scoped_lock guard(lock);
            if (lastWritten < lastSet) {
                waiting.push_back({lastSet, std::move(resume)});
                return;
            }
        }
        std::move(resume)();
    }

    /// Writes all values that are set and not yet written, on the calling thread.
    void writeRound()
    {
        std::scoped_lock guard(disk);
        Round const round = takeRound();
        if (!round.changes.empty())
            writeFiles(round);
        finish(round.upTo);
    }

private:
    struct Entry {
        std::optional<std::string> content;
        bool isKnown = false;                // content belongs to the state `seen`
        std::optional<files::Identity> seen; // `nullopt`: there was no file
        std::uint64_t setNumber = 0;         // of the value that is not on disk yet; 0 if there is none
    };
    struct Change {
        std::string key;
        std::string content;
        std::uint64_t setNumber;
    };
    struct Round {
        std::vector<Change> changes;
        std::uint64_t upTo;
    };
    struct Waiter {
        std::uint64_t setNumber;
        Resume resume;
    };

    std::filesystem::path pathOf(std::string_view key) const { return folder / (std::string(key) + ".json"); }

    /// Reads the file again if its state differs from the last one.
    static void refresh(Entry& entry, std::filesystem::path const& path)
    {
        auto const now = files::identityOf(path);
        if (entry.isKnown && now == entry.seen)
            return;
        auto read = now ? files::read(path, maxFile) : std::nullopt;
        // A file that could not be opened may become readable without a change of state.
        entry.isKnown = read || !now;
        entry.seen = read ? std::optional(read->identity) : std::nullopt;
        entry.content = read ? std::optional(std::move(read->content)) : std::nullopt;
    }

    void writeRounds()
    {
        for (;;) {
            writeRound();
            std::scoped_lock guard(lock);
            if (lastWritten == lastSet) {
                isWriting = false;
                return;
            }
        }
    }

    Round takeRound()
    {
        std::scoped_lock guard(lock);
        Round round{.changes = {}, .upTo = lastSet};
        for (auto const& [key, entry] : entries)
            if (entry.setNumber)
                round.changes.push_back({key, *entry.content, entry.setNumber});
        return round;
    }

    void writeFiles(Round const& round)
    {
        bool const hasFolder = files::makePrivateFolder(folder);
        if (hasFolder && !std::exchange(isTidy, true))
            files::removeLeftovers(folder);
        for (Change const& change : round.changes) {
            auto const path = pathOf(change.key);
            auto written = files::replace(path, change.content);
            if (!written) // The value stays valid until another program changes the file.
                written = files::identityOf(path);
            std::scoped_lock guard(lock);
            Entry& entry = entries[change.key];
            entry.isKnown = true;
            entry.seen = written;
            if (entry.setNumber == change.setNumber)
                entry.setNumber = 0;
        }
        if (hasFolder)
            files::syncFolder(folder);
    }

    void finish(std::uint64_t upTo)
    {
        std::list<Waiter> due;
        {
            std::scoped_lock guard(lock);
            lastWritten = std::max(lastWritten, upTo);
            auto const keep =
                std::ranges::find_if(waiting, [&](Waiter const& waiter) { return waiter.setNumber > upTo; });
            due.splice(due.end(), waiting, waiting.begin(), keep);
        }
        for (Waiter& waiter : due)
            std::move(waiter.resume)();
    }

    Executor const workers;
    std::filesystem::path const folder;

    std::mutex disk; // Held for a whole round, so that rounds reach the disk in order. Taken before `lock`.
    bool isTidy = false; // disk

    std::mutex lock;
    std::map<std::string, Entry> entries; // lock
    std::uint64_t lastSet = 0;            // lock
    std::uint64_t lastWritten = 0;        // lock
    bool isWriting = false;               // lock; writeRounds() runs or is about to
    std::list<Waiter> waiting;            // lock; in the order of their numbers
};

FileUserDefaults::FileUserDefaults(Executor workers,
                                   std::filesystem::path folder,
                                   std::function<bool()> wasPutBack)
    : folder(folder), wasPutBack(std::move(wasPutBack)),
      store(std::make_shared<Store>(std::move(workers), std::move(folder)))
{
}

void FileUserDefaults::bringUpToDate()
{
    SettingsVersion(folder).bringUpToDate(wasPutBack);
}

FileUserDefaults::~FileUserDefaults() = default;

std::optional<std::string> FileUserDefaults::bytes(std::string_view key)
{
    return store->content(key);
}

namespace {

std::optional<json::value> parsed(std::optional<std::string> const& content)
{
    return content ? parseJson(*content) : std::nullopt;
}

std::string textOf(json::string const& text)
{
    return {text.data(), text.size()};
}

} // namespace

std::optional<std::string> FileUserDefaults::text(std::string_view key)
{
    auto const value = parsed(store->content(key));
    if (!value || !value->is_string())
        return std::nullopt;
    return textOf(value->get_string());
}

std::optional<bool> FileUserDefaults::boolean(std::string_view key)
{
    auto const value = parsed(store->content(key));
    if (!value || !value->is_bool())
        return std::nullopt;
    return value->get_bool();
}

std::optional<std::int64_t> FileUserDefaults::integer(std::string_view key)
{
    auto const value = parsed(store->content(key));
    if (!value || !value->is_int64())
        return std::nullopt;
    return value->get_int64();
}

std::optional<std::vector<std::string>> FileUserDefaults::textArray(std::string_view key)
{
    auto const value = parsed(store->content(key));
    if (!value || !value->is_array())
        return std::nullopt;
    std::vector<std::string> texts;
    for (json::value const& element : value->get_array()) {
        if (!element.is_string())
            return std::nullopt;
        texts.push_back(textOf(element.get_string()));
    }
    return texts;
}

void FileUserDefaults::setText(std::string_view key, std::string value)
{
    store->set(key, writeJson(json::value(text::repaired(value))));
}

void FileUserDefaults::setBoolean(std::string_view key, bool value)
{
    store->set(key, writeJson(json::value(value)));
}

void FileUserDefaults::setInteger(std::string_view key, std::int64_t value)
{
    store->set(key, writeJson(json::value(value)));
}

void FileUserDefaults::setTextArray(std::string_view key, std::vector<std::string> value)
{
    json::array array;
    for (std::string const& element : value)
        array.emplace_back(text::repaired(element));
    store->set(key, writeJson(array));
}

void FileUserDefaults::setBytes(std::string_view key, std::string value)
{
    store->set(key, std::move(value));
}

Task<> FileUserDefaults::written()
{
    auto start = [kept = store](auto handler) {
        auto const home = asio::get_associated_executor(handler);
        kept->resumeWhenWritten(
            [home, handler = std::move(handler)]() mutable { asio::post(home, std::move(handler)); });
    };
    co_await asio::async_initiate<decltype(asio::use_awaitable), void()>(std::move(start),
                                                                         asio::use_awaitable);
}

void FileUserDefaults::writeNow()
{
    store->writeRound();
}

} // namespace zelvo
