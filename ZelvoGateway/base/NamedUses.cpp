#include "ZelvoGateway/base/NamedUses.h"

namespace zelvo::service {

NamedUses::Lease NamedUses::take(std::string const& name, std::size_t max)
{
    auto const found = counts->find(name);
    if (max > 0 && found != counts->end() && found->second >= max)
        return nullptr;
    ++(*counts)[name];
    return {counts.get(), [kept = counts, name](void const*) {
                if (auto const mine = kept->find(name); --mine->second == 0)
                    kept->erase(mine);
            }};
}

} // namespace zelvo::service
