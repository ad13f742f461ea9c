#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>

namespace zelvo::service {

/// Counts how many things each name has at one time: requests of an API key, connections of an address.
/// Thread: the server's.
class NamedUses {
public:
    /// One thing, until it is dropped, also if that is after the counts are gone.
    using Lease = std::shared_ptr<void const>;

    /// Null if the name has `max` already. max   0 for no limit
    Lease take(std::string const& name, std::size_t max);

private:
    using Counts = std::unordered_map<std::string, std::size_t>;

    std::shared_ptr<Counts> counts = std::make_shared<Counts>();
};

} // namespace zelvo::service
