#pragma once

#include "app/widgets/TextLabel.h"

#include <QCollator>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

namespace zelvo {

/// Sorts by a name as the person's language does, without regard to case; equal names keep their order.
/// nameOf  gives the name of an element, a std::string
template <class T, class NameOf>
void sortByName(std::vector<T>& all, NameOf nameOf)
{
    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    struct Place {
        QString name;
        std::size_t index;
    };
    std::vector<Place> order;
    for (std::size_t i = 0; i < all.size(); ++i)
        order.push_back({toQString(std::invoke(nameOf, all[i])), i});
    std::ranges::sort(order, [&](Place const& left, Place const& right) {
        int const difference = collator.compare(left.name, right.name);
        return difference == 0 ? left.index < right.index : difference < 0;
    });
    std::vector<T> sorted;
    for (Place const& place : order)
        sorted.push_back(std::move(all[place.index]));
    all = std::move(sorted);
}

} // namespace zelvo
