#pragma once

#include <cstddef>
#include <memory>

namespace zelvo::service {

/// Bounds the memory of all large bodies and messages together. Each holds its share as a lease.
/// Thread: one.
class MemoryBudget {
public:
    class Lease {
    public:
        Lease() = default;
        Lease(Lease&& other) noexcept;
        Lease& operator=(Lease&& other) noexcept;
        ~Lease() { release(); }
        void release();
        std::size_t size() const { return bytes; }

    private:
        friend class MemoryBudget;
        std::shared_ptr<std::size_t> left;
        std::size_t bytes = 0;
    };

    explicit MemoryBudget(std::size_t bytes) : left(std::make_shared<std::size_t>(bytes)) {}

    /// Grows a lease to `bytes`; an empty lease is a new one. False, without any change, if the budget has
    /// not enough left.
    bool grow(Lease& lease, std::size_t bytes);
    std::size_t available() const { return *left; }

private:
    std::shared_ptr<std::size_t> left;
};

} // namespace zelvo::service
