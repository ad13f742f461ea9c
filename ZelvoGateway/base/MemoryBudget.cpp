#include "ZelvoGateway/base/MemoryBudget.h"

#include <utility>

namespace zelvo::service {

MemoryBudget::Lease::Lease(Lease&& other) noexcept
    : account(std::move(other.account)), bytes(std::exchange(other.bytes, 0))
{
}

MemoryBudget::Lease& MemoryBudget::Lease::operator=(Lease&& other) noexcept
{
    if (this != &other) {
        release();
        account = std::move(other.account);
        bytes = std::exchange(other.bytes, 0);
    }
    return *this;
}

void MemoryBudget::Lease::release()
{
    std::size_t const held = std::exchange(bytes, 0);
    for (Account* each = account.get(); each; each = each->whole.get())
        each->left += held;
    account.reset();
}

MemoryBudget::MemoryBudget(std::size_t bytes, std::size_t ofCaller)
    : size(bytes), ofCaller(ofCaller), account(std::make_shared<Account>(Account{.left = bytes}))
{
}

MemoryBudget MemoryBudget::partOf(std::string const& caller)
{
    std::erase_if(parts, [](auto const& each) { return each.second.expired(); });
    std::weak_ptr<Account>& known = parts[caller];
    std::shared_ptr<Account> part = known.lock();
    if (!part) {
        part = std::make_shared<Account>(Account{.left = ofCaller, .whole = account});
        known = part;
    }
    return {ofCaller, std::move(part)};
}

bool MemoryBudget::grow(Lease& lease, std::size_t bytes)
{
    if (bytes <= lease.bytes)
        return true;
    std::size_t const more = bytes - lease.bytes;
    for (Account const* each = account.get(); each; each = each->whole.get())
        if (more > each->left)
            return false;
    for (Account* each = account.get(); each; each = each->whole.get()) {
        each->left -= more;
        each->wasLent = true;
    }
    lease.account = account;
    lease.bytes = bytes;
    return true;
}

bool MemoryBudget::hasRested()
{
    return account->left == size && std::exchange(account->wasLent, false);
}

} // namespace zelvo::service
