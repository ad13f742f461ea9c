#include "ZelvoGateway/exchange/Observers.h"

#include <utility>
#include <vector>

namespace zelvo::service {

class Observers::Entry final : public ExchangeEntry {
public:
    Entry(std::shared_ptr<Table> table, Table::iterator place) : table(std::move(table)), place(place) {}
    ~Entry() override { table->erase(place); }

private:
    std::shared_ptr<Table> table;
    Table::iterator place;
};

std::unique_ptr<ExchangeEntry> Observers::add(std::string topic, Exchange::Observer observer)
{
    auto const place =
        observers->emplace(std::move(topic), std::make_shared<Exchange::Observer const>(std::move(observer)));
    return std::make_unique<Entry>(observers, place);
}

void Observers::hear(std::string const& topic, std::string const& text) const
{
    // An observer may end itself or others.
    std::vector<std::weak_ptr<Exchange::Observer const>> called;
    auto const [first, last] = observers->equal_range(topic);
    for (auto entry = first; entry != last; ++entry)
        called.push_back(entry->second);
    for (auto const& each : called)
        if (auto const observer = each.lock())
            (*observer)(text);
}

} // namespace zelvo::service
