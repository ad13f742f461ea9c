#pragma once

#include "wire/EnumText.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo::service {

/// A list of enumerators as the store keeps it: their wire texts, separated by spaces.
template <class E>
std::string spacedTexts(std::vector<E> const& list)
{
    std::string text;
    for (E const each : list)
        text += (text.empty() ? "" : " ") + std::string(rawValue(each));
    return text;
}

/// The list that a text holds; unknown texts are left out.
template <class E>
std::vector<E> fromSpacedTexts(std::string_view text)
{
    std::vector<E> list;
    while (!text.empty()) {
        std::size_t const end = std::min(text.find(' '), text.size());
        if (auto const each = fromRawValue<E>(text.substr(0, end)))
            list.push_back(*each);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return list;
}

} // namespace zelvo::service
