#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

namespace zelvo::service {

/// Gives out the numbers of references, snapshots and handles, in blocks: no two conversations have the same
/// number, so what belongs to one is unknown to the others, also to those after a restart.
/// Thread: one.
class ReferenceNumbers {
public:
    /// Reserves so many numbers in a row that nobody else ever gets; returns the first.
    using Reserve = std::function<std::uint64_t(std::uint64_t count)>;

    /// Without `reserve` it counts from 1.
    explicit ReferenceNumbers(Reserve reserve = {}) : reserve(std::move(reserve)) {}

    /// The numbers of one conversation. The source must outlive it.
    class Part {
    public:
        explicit Part(std::shared_ptr<ReferenceNumbers> source) : source(std::move(source)) {}
        std::uint64_t take()
        {
            if (at == end) {
                at = source->nextBlock();
                end = at + block;
            }
            return at++;
        }

    private:
        std::shared_ptr<ReferenceNumbers> source;
        std::uint64_t at = 0;
        std::uint64_t end = 0;
    };

private:
    static constexpr std::uint64_t block = 50;
    static constexpr std::uint64_t reserved = 20 * block; // Few, since a restart wastes what is left of them.

    std::uint64_t nextBlock()
    {
        if (reserve && next == end) {
            next = reserve(reserved);
            end = next + reserved;
        }
        return std::exchange(next, next + block);
    }

    Reserve reserve;
    std::uint64_t next = 1;
    std::uint64_t end = 1;
};

} // namespace zelvo::service
