#pragma once

#include <cstdint>
#include <memory>

namespace zelvo::service {

/// Gives out the numbers of references, snapshots and handles, in blocks: no two conversations have the same
/// number, so what belongs to one is unknown to the others.
/// Thread: one.
class ReferenceNumbers {
public:
    /// first   the number that is given out first
    explicit ReferenceNumbers(std::uint64_t first = 1) : next(first) {}

    /// The numbers of one conversation. The source must outlive it.
    class Part {
    public:
        explicit Part(std::shared_ptr<ReferenceNumbers> source) : source(std::move(source)) {}
        std::uint64_t take()
        {
            if (at == end) {
                at = source->next;
                source->next = end = at + block;
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
    std::uint64_t next;
};

} // namespace zelvo::service
