#include "ZelvoGateway/base/MemoryBudget.h"

#include <utility>

namespace zelvo::service {

MemoryBudget::Lease::Lease(Lease&& other) noexcept
    : left(std::move(other.left)), bytes(std::exchange(other.bytes, 0))
{
}

MemoryBudget::Lease& MemoryBudget::Lease::operator=(Lease&& other) noexcept
{
    if (this != &other) {
        release();
        left = std::move(other.left);
        bytes = std::exchange(other.bytes, 0);
    }
    return *this;
}

void MemoryBudget::Lease::release()
{
    if (left)
        *left += std::exchange(bytes, 0);
}

bool MemoryBudget::grow(Lease& lease, std::size_t bytes)
{
    if (bytes <= lease.bytes)
        return true;
    std::size_t const more = bytes - lease.bytes;
    if (more > *left)
        return false;
    *left -= more;
    lease.left = left;
    lease.bytes = bytes;
    return true;
}

} // namespace zelvo::service
