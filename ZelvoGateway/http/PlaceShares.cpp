#include "ZelvoGateway/http/PlaceShares.h"

namespace zelvo::service {

namespace {

constexpr std::size_t sharesOfOwners = 8;
constexpr std::size_t sharesOfAll = 2;

} // namespace

PlaceShares::Lease PlaceShares::take(std::string const& owner)
{
    auto const found = taken->byOwner.find(owner);
    std::size_t const own = found == taken->byOwner.end() ? 0 : found->second;
    if (own >= places / sharesOfOwners || taken->all >= places / sharesOfAll)
        return nullptr;
    ++taken->all;
    ++taken->byOwner[owner];
    return {taken.get(), [kept = taken, owner](void const*) {
                --kept->all;
                if (--kept->byOwner[owner] == 0)
                    kept->byOwner.erase(owner);
            }};
}

} // namespace zelvo::service
