#pragma once

#include "ZelvoGateway/mcp/SeenElement.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace zelvo::service {

/// An element and its reference, such as "b9".
struct ReferencedElement {
    std::string reference;
    SeenElement element;
    bool operator==(ReferencedElement const&) const = default;
};

/// What a reference means in the newest tree.
struct ReferenceMatch {
    enum class Kind {
        found,   ///< `elements` has the one element
        several, ///< the element has gone; `elements` are the ones that look like it
        gone,    ///< nothing in the tree looks like it
        unknown, ///< the reference was never given out, or long ago
    };
    Kind kind = Kind::unknown;
    std::vector<ReferencedElement> elements = {};
};

/// Gives the elements of one application's trees references that stay: the same element has the same
/// reference in every tree. An element is recognised by its role, identifier and name. Look-alikes keep their
/// references only while all of them are where they were and follow the same elements, because a place alone
/// proves nothing: when a row of a list is deleted, the next one takes its place, with the same buttons.
/// Elements that have neither identifier nor name are look-alikes, too, even a single one.
/// Thread: one.
class ElementReferences {
public:
    static constexpr std::size_t maxKnown = 5'000; ///< elements, the last ones seen
    /// Gives the number of a new reference, greater than those before.
    using NextNumber = std::function<std::uint64_t()>;

    /// Without `nextNumber` it counts from 1.
    explicit ElementReferences(NextNumber nextNumber = {}) : nextNumber(std::move(nextNumber)) {}

    /// Takes a new tree.
    std::vector<ReferencedElement> const& update(std::vector<SeenElement> elements);
    ReferenceMatch find(std::string_view reference) const;
    std::vector<ReferencedElement> const& newestTree() const { return newest; }
    /// About the memory of what it knows, without the newest tree.
    std::size_t bytes() const;

private:
    /// Role, identifier and name.
    using Look = std::tuple<std::string, std::string, std::string>;
    struct Known {
        Look look;
        Look before; ///< of the element that preceded it in the tree
        SeenFrame frame;
        std::uint64_t lastSeen = 0;
    };

    using Group = std::vector<std::size_t>; // places in a tree
    static Look lookOf(SeenElement const& element);
    static Known knownOf(std::vector<SeenElement> const& elements, std::size_t place, std::uint64_t tree);
    std::map<Look, std::vector<std::string>> lastSeenTogether() const;
    bool areTheSame(std::vector<std::string> const& references,
                    std::vector<SeenElement> const& elements,
                    Group const& group) const;
    std::string newReference(std::string_view role);
    void forgetOld();

    NextNumber nextNumber;
    std::map<std::string, Known, std::less<>> known;
    std::vector<ReferencedElement> newest;
    std::uint64_t lastNumber = 0;
    std::uint64_t lastTree = 0;
};

} // namespace zelvo::service
