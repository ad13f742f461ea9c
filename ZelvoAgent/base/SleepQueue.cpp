#include "base/SleepQueue.h"

#include <vector>

namespace zelvo {

struct SleepQueue::Shared {
    using Key = std::pair<Instant, std::uint64_t>;

    mutable std::mutex lock;
    std::map<Key, Handler> waiting;           // lock
    std::map<std::uint64_t, Instant> dueById; // lock
    std::uint64_t lastId = 0;                 // lock
    std::function<void()> earliestChanged;
};

SleepQueue::SleepQueue(std::function<void()> earliestChanged) : shared(std::make_shared<Shared>())
{
    shared->earliestChanged = std::move(earliestChanged);
}

std::uint64_t SleepQueue::nextId()
{
    std::scoped_lock guard(shared->lock);
    return ++shared->lastId;
}

std::weak_ptr<SleepQueue::Shared> SleepQueue::weakShared() const
{
    return shared;
}

void SleepQueue::insert(Instant due, std::uint64_t id, Handler wake)
{
    bool first = false;
    {
        std::scoped_lock guard(shared->lock);
        first = shared->waiting.empty() || due < shared->waiting.begin()->first.first;
        shared->waiting.emplace(Shared::Key{due, id}, std::move(wake));
        shared->dueById.emplace(id, due);
    }
    if (first && shared->earliestChanged)
        shared->earliestChanged();
}

void SleepQueue::cancel(std::weak_ptr<Shared> const& weak, std::uint64_t id)
{
    auto const shared = weak.lock();
    if (!shared)
        return;
    decltype(shared->waiting)::node_type
        sleeper; // Extracted as a node: assigning a handler recurses endlessly in Boost 1.81.
    {
        std::scoped_lock guard(shared->lock);
        auto const due = shared->dueById.find(id);
        if (due == shared->dueById.end())
            return;
        sleeper = shared->waiting.extract({due->second, id});
        shared->dueById.erase(due);
    }
    std::move(sleeper.mapped())(boost::asio::error::operation_aborted);
}

std::optional<Instant> SleepQueue::earliest() const
{
    std::scoped_lock guard(shared->lock);
    if (shared->waiting.empty())
        return std::nullopt;
    return shared->waiting.begin()->first.first;
}

void SleepQueue::wakeDue(Instant now)
{
    std::vector<Handler> due;
    {
        std::scoped_lock guard(shared->lock);
        while (!shared->waiting.empty() && shared->waiting.begin()->first.first <= now) {
            auto const entry = shared->waiting.begin();
            due.push_back(std::move(entry->second));
            shared->dueById.erase(entry->first.second);
            shared->waiting.erase(entry);
        }
    }
    for (Handler& wake : due)
        std::move(wake)(boost::system::error_code());
}

void SleepQueue::drop()
{
    std::map<Shared::Key, Handler> dropped; // Destroyed after the unlock: destructors may call this queue.
    std::scoped_lock guard(shared->lock);
    dropped.swap(shared->waiting);
    shared->dueById.clear();
}

std::size_t SleepQueue::size() const
{
    std::scoped_lock guard(shared->lock);
    return shared->waiting.size();
}

} // namespace zelvo
