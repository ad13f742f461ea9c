#pragma once

#include <cstddef>
#include <functional>
#include <utility>

namespace zelvo::service {

/// Counts the work that the gateway finishes before it stops: requests and commands that it has accepted.
/// Thread: the server's.
class OpenWork {
public:
    /// One piece of work, until it is dropped. The OpenWork must outlive it.
    class Lease {
    public:
        Lease() = default;
        explicit Lease(OpenWork& work) : work(&work) { ++work.count; }
        Lease(Lease&& other) noexcept : work(std::exchange(other.work, nullptr)) {}
        Lease& operator=(Lease&& other) noexcept
        {
            release();
            work = std::exchange(other.work, nullptr);
            return *this;
        }
        ~Lease() { release(); }
        void release()
        {
            if (work)
                std::exchange(work, nullptr)->ended();
        }
        explicit operator bool() const { return work != nullptr; }

    private:
        OpenWork* work = nullptr;
    };

    OpenWork() = default;
    OpenWork(OpenWork const&) = delete;
    OpenWork& operator=(OpenWork const&) = delete;

    Lease begin() { return Lease(*this); }
    std::size_t open() const { return count; }
    /// Whoever accepts work refuses it from then on.
    bool isClosing() const { return closing; }
    /// whenDone   called once, when nothing is open any more, instead of that of an earlier call; perhaps
    ///            before this returns, and perhaps in a destructor, so it must not throw
    void close(std::function<void()> whenDone)
    {
        closing = true;
        onDone = std::move(whenDone);
        callIfDone();
    }

private:
    void ended()
    {
        --count;
        callIfDone();
    }
    void callIfDone()
    {
        if (closing && count == 0 && onDone)
            std::exchange(onDone, nullptr)();
    }

    std::size_t count = 0;
    bool closing = false;
    std::function<void()> onDone;
};

} // namespace zelvo::service
