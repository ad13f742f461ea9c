#include "ZelvoGateway/mcp/ElementReferences.h"

#include <algorithm>
#include <array>
#include <functional>
#include <utility>

namespace zelvo::service {

namespace {

/// What references of a role begin with, so that models do not confuse them.
char letterOf(std::string_view role)
{
    static constexpr std::array<std::pair<std::string_view, char>, 8> letters{{{"button", 'b'},
                                                                               {"text", 't'},
                                                                               {"searchfield", 't'},
                                                                               {"link", 'l'},
                                                                               {"checkbox", 'c'},
                                                                               {"radio", 'c'},
                                                                               {"menu", 'm'},
                                                                               {"combobox", 'c'}}};
    for (auto const& [part, letter] : letters)
        if (role.find(part) != std::string_view::npos)
            return letter;
    return 'e';
}

} // namespace

ElementReferences::Look ElementReferences::lookOf(SeenElement const& element)
{
    return {element.role, element.identifier, element.name};
}

ElementReferences::Known
ElementReferences::knownOf(std::vector<SeenElement> const& elements, std::size_t place, std::uint64_t tree)
{
    return {.look = lookOf(elements[place]),
            .before = place > 0 ? lookOf(elements[place - 1]) : Look(),
            .frame = elements[place].frame,
            .lastSeen = tree};
}

/// For each look the references that had it in the last tree in which it occurred, in the order of that tree.
std::map<ElementReferences::Look, std::vector<std::string>> ElementReferences::lastSeenTogether() const
{
    std::map<Look, std::uint64_t> last;
    for (auto const& [reference, element] : known)
        last[element.look] = std::max(last[element.look], element.lastSeen);
    std::map<Look, std::vector<std::string>> together;
    for (auto const& [reference, element] : known)
        if (element.lastSeen == last[element.look])
            together[element.look].push_back(reference);
    // References are given out in the order of the tree, and keep it: look-alikes that change places lose
    // them.
    for (auto& [look, references] : together)
        std::ranges::sort(references, {},
                          [](std::string const& reference) { return std::stoull(reference.substr(1)); });
    return together;
}

/// Whether elements of one look are those that had the references.
bool ElementReferences::areTheSame(std::vector<std::string> const& references,
                                   std::vector<SeenElement> const& elements,
                                   Group const& group) const
{
    if (references.size() != group.size())
        return false;
    auto const& [role, identifier, name] = lookOf(elements[group.front()]);
    if (group.size() == 1 && !(identifier.empty() && name.empty()))
        return true;
    return std::ranges::equal(references, group, [&](std::string const& reference, std::size_t place) {
        Known const& before = known.find(reference)->second;
        Known const now = knownOf(elements, place, 0);
        return before.frame == now.frame && before.before == now.before;
    });
}

std::vector<ReferencedElement> const& ElementReferences::update(std::vector<SeenElement> elements)
{
    std::map<Look, Group> groups;
    for (std::size_t place = 0; place < elements.size(); ++place)
        groups[lookOf(elements[place])].push_back(place);

    std::vector<std::string> names(elements.size());
    auto const together = lastSeenTogether();
    for (auto const& [look, group] : groups)
        if (auto const references = together.find(look);
            references != together.end() && areTheSame(references->second, elements, group))
            for (std::size_t i = 0; i < group.size(); ++i)
                names[group[i]] = references->second[i];

    ++lastTree;
    newest.clear();
    for (std::size_t place = 0; place < elements.size(); ++place) {
        if (names[place].empty())
            names[place] = newReference(elements[place].role);
        known[names[place]] = knownOf(elements, place, lastTree);
    }
    for (std::size_t place = 0; place < elements.size(); ++place)
        newest.push_back({.reference = std::move(names[place]), .element = std::move(elements[place])});
    forgetOld();
    return newest;
}

ReferenceMatch ElementReferences::find(std::string_view reference) const
{
    auto const element = known.find(reference);
    if (element == known.end())
        return {.kind = ReferenceMatch::Kind::unknown};
    auto const same = std::ranges::find(newest, reference, &ReferencedElement::reference);
    if (same != newest.end())
        return {.kind = ReferenceMatch::Kind::found, .elements = {*same}};
    ReferenceMatch match{.kind = ReferenceMatch::Kind::gone};
    for (ReferencedElement const& other : newest)
        if (lookOf(other.element) == element->second.look)
            match.elements.push_back(other);
    if (!match.elements.empty())
        match.kind = ReferenceMatch::Kind::several;
    return match;
}

std::string ElementReferences::newReference(std::string_view role)
{
    lastNumber = nextNumber ? nextNumber() : lastNumber + 1;
    return letterOf(role) + std::to_string(lastNumber);
}

std::size_t ElementReferences::bytes() const
{
    auto const bytesOf = [](Look const& look) {
        auto const& [role, identifier, name] = look;
        return role.size() + identifier.size() + name.size();
    };
    std::size_t bytes = 0;
    for (auto const& [reference, element] : known)
        bytes += sizeof element + bytesOf(element.look) + bytesOf(element.before);
    return bytes;
}

void ElementReferences::forgetOld()
{
    if (known.size() <= maxKnown)
        return;
    std::vector<std::uint64_t> seen;
    for (auto const& [reference, element] : known)
        seen.push_back(element.lastSeen);
    std::ranges::sort(seen, std::greater());
    // Of the newest tree everything stays.
    std::uint64_t const oldest = std::min(seen[maxKnown] + 1, lastTree);
    std::erase_if(known, [&](auto const& entry) { return entry.second.lastSeen < oldest; });
}

} // namespace zelvo::service
