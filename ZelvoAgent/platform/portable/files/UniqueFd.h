#pragma once

#include <unistd.h>

#include <utility>

namespace zelvo {

/// Owns a file descriptor and closes it.
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int raw) : raw(raw) {}
    UniqueFd(UniqueFd&& other) noexcept : raw(std::exchange(other.raw, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept
    {
        if (this != &other)
            reset(std::exchange(other.raw, -1));
        return *this;
    }
    ~UniqueFd() { reset(); }

    int get() const { return raw; }
    int release() { return std::exchange(raw, -1); }
    explicit operator bool() const { return raw >= 0; }
    void reset(int next = -1)
    {
        if (raw >= 0)
            ::close(raw);
        raw = next;
    }

private:
    int raw = -1;
};

} // namespace zelvo
