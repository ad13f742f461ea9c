#pragma once

#include "ZelvoGateway/exchange/Exchange.h"

#include <map>
#include <memory>
#include <string>

namespace zelvo::service {

/// Who at this node observes which topic.
/// Thread: the server's.
class Observers {
public:
    /// Calls the observer until the entry is destroyed.
    std::unique_ptr<ExchangeEntry> add(std::string topic, Exchange::Observer observer);
    void hear(std::string const& topic, std::string const& text) const;

private:
    class Entry;
    using Table = std::multimap<std::string, std::shared_ptr<Exchange::Observer const>>;

    std::shared_ptr<Table> observers = std::make_shared<Table>(); // An entry may outlive this.
};

} // namespace zelvo::service
