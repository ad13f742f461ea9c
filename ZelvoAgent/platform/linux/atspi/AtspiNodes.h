#pragma once

#include "platform/linux/atspi/AtspiExchange.h"
#include "platform/linux/atspi/AtspiMessages.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace zelvo {

/// Questions about an element, one message each (children: sometimes more).
enum class AtspiQuestion : std::uint8_t {
    role,
    states,
    interfaces,
    children,
    childCount,
    name,
    description,
    properties, ///< name, description, identifier and child count in one message
    identifier, ///< from the attributes
    extents,
    actions,
    textLength, ///< characters
    text,
    labels, ///< the elements that label it
    parent, ///< as the element reports it
};
inline constexpr std::size_t atspiQuestions = static_cast<std::size_t>(AtspiQuestion::parent) + 1;

/// What is known about an element.
struct AtspiNode {
    enum class Progress : std::uint8_t { unasked, asked, answered };
    using Index = std::uint32_t;

    AtspiExchange::PeerId peer = 0;
    std::string const* path = nullptr; ///< owned by AtspiNodes
    std::optional<Index> parent;       ///< the first that listed it, else the one that it reports
    std::uint32_t place = 0;           ///< index in that list
    bool isListed = false;             ///< its parent has listed it
    bool isAParent = false;            ///< some element's parent, whether or not its children were asked for
    int level = 0;                     ///< below the application
    std::array<Progress, atspiQuestions> progress{};

    std::optional<AtspiRole> role;
    std::optional<AtspiStates> states;
    std::optional<std::uint32_t> interfaces;
    std::optional<std::vector<Index>> children;
    std::optional<std::int32_t> childCount;
    std::optional<std::string> name;
    std::optional<std::string> description;
    std::optional<std::string> help;
    std::optional<std::string> identifier;
    std::optional<atspi::Extents> extents;
    std::vector<std::string> actions;
    std::optional<std::int32_t> textLength;
    std::optional<std::string> text;
    std::vector<atspi::Reference> labels;
    std::optional<atspi::Reference> claimed; ///< its parent, as it reports it

    Progress of(AtspiQuestion question) const { return progress[static_cast<std::size_t>(question)]; }
    void set(AtspiQuestion question, Progress next) { progress[static_cast<std::size_t>(question)] = next; }
    bool isAnswered(AtspiQuestion question) const { return of(question) == Progress::answered; }
    bool has(AtspiState state) const { return states && states->has(state); }

    /// Stores the answer to any question but `children` and `actions`; null for a missing one. Malformed
    /// answers count as missing.
    void take(AtspiQuestion question, sd_bus_message* reply);
    /// Forgets everything but its place in the tree.
    void forget();
    /// Bytes of all its texts, with the names of its actions.
    std::size_t textSize() const;
    void forgetTexts();
};

/// The elements of one reader, each once. An index stays valid for the life of the reader.
class AtspiNodes {
public:
    using Index = AtspiNode::Index;
    static constexpr std::size_t maxNodes = 200'000;

    AtspiNode& operator[](Index index) { return nodes[index]; }
    AtspiNode const& operator[](Index index) const { return nodes[index]; }
    std::size_t size() const { return nodes.size(); }

    /// The element at a path, created if it is new; `nullopt` if there are too many.
    std::optional<Index> find(AtspiExchange::PeerId peer, std::string const& path);
    /// Makes elements the children of a parent, except those that another parent has listed: each element is
    /// in the tree once.
    void adopt(Index parent, std::vector<Index> const& listed);
    /// Makes an element without a parent the child of another. False if it has another parent, or would
    /// become its own ancestor.
    bool hang(Index child, Index parent);
    /// Forgets all answers, and which parent listed which child.
    void forgetAnswers();

    /// Whether `left` comes first in a walk. Both must have the same root.
    bool isBefore(Index left, Index right) const;
    AxRole axRole(Index index) const;
    AtspiPlace placeOf(Index index) const;
    /// Whether it is a password field or inside one.
    bool isSecret(Index index) const;

private:
    bool isAbove(Index upper, Index lower) const;

    std::deque<AtspiNode> nodes;
    std::vector<std::unordered_map<std::string, Index>> byPath; // of each peer
};

} // namespace zelvo
