#pragma once

#include "base/Task.h"

#include <memory>

namespace zelvo {

/// Lets one task at a time through a section that waits inside. Tasks get it in the order in which they
/// asked, each resumes on its own executor, and one that is cancelled while it waits leaves the queue.
/// Thread: any. It may end while it is locked or waited for.
class AsyncMutex {
    struct State;

public:
    /// Holds the mutex until its end. One that was made empty or moved from holds nothing.
    class Lock {
    public:
        Lock() = default;
        explicit Lock(std::shared_ptr<State> state) : state(std::move(state)) {}
        Lock(Lock&& other) noexcept = default;
        Lock& operator=(Lock&& other) noexcept
        {
            std::swap(state, other.state);
            return *this;
        }
        ~Lock();
        explicit operator bool() const { return state != nullptr; }

    private:
        std::shared_ptr<State> state;
    };

    AsyncMutex();
    AsyncMutex(AsyncMutex const&) = delete;
    AsyncMutex& operator=(AsyncMutex const&) = delete;

    /// Resumes when the mutex belongs to the caller; at once, without a wait, when nobody has it.
    Task<Lock> lock();
    bool isLocked() const;

private:
    std::shared_ptr<State> state;
};

} // namespace zelvo
