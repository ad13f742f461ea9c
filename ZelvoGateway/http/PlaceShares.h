#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>

namespace zelvo::service {

/// The connections that keep their places in a crowd although they have no right to the whole gateway: those
/// of a machine, of an upload, of a recording's address. One owner may hold an eighth of all places, all of
/// them together half. A connection beyond that is served, too, but may have to make room for others.
/// Thread: the server's.
class PlaceShares {
public:
    /// Holds a place until it is dropped, also if that is after the shares are gone.
    using Lease = std::shared_ptr<void const>;

    /// places  the connections that the server serves at one time
    explicit PlaceShares(std::size_t places) : places(places) {}

    /// A place for an owner; null if there is none left for it.
    Lease take(std::string const& owner);

private:
    struct Taken {
        std::size_t all = 0;
        std::map<std::string, std::size_t> byOwner;
    };

    std::size_t places;
    std::shared_ptr<Taken> taken = std::make_shared<Taken>();
};

} // namespace zelvo::service
