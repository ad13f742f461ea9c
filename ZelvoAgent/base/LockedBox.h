#pragma once

#include <mutex>
#include <utility>

namespace zelvo {

/// A value that a mutex guards, readable from any thread. The lock is held only while the value is copied or
/// changed, so `change` must not call other objects.
template <class T>
class LockedBox {
public:
    LockedBox() = default;
    explicit LockedBox(T value) : value(std::move(value)) {}

    T get() const
    {
        std::scoped_lock guard(lock);
        return value;
    }

    void set(T next)
    {
        std::scoped_lock guard(lock);
        value = std::move(next);
    }

    template <class F>
    void change(F edit)
    {
        std::scoped_lock guard(lock);
        edit(value);
    }

private:
    mutable std::mutex lock;
    T value{}; // lock
};

} // namespace zelvo
