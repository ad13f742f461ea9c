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

/// What an application is asked about an element, one message each (children: sometimes more).
enum class AtspiQuestion : std::uint8_t {
    role,
    states,
    interfaces,
    children,
    childCount,
    name,
    description,
    properties, ///< name, description, identifier and child count in one
    identifier, ///< of the attributes
    extents,
    actions,
    textLength, ///< characters
    text,
    labels, ///< what labels it
    parent, ///< by its own word
};
inline constexpr std::size_t atspiQuestions = static_cast<std::size_t>(AtspiQuestion::parent) + 1;

/// An element as far as it is known.
struct AtspiNode {
    enum class Progress : std::uint8_t { unasked, asked, answered };
    using Index = std::uint32_t;

    AtspiExchange::PeerId peer = 0;
    std::string const* path = nullptr; ///< the store's
    std::optional<Index> parent;       ///< who listed it first, else by its own word
    std::uint32_t place = 0;           ///< in that list
    bool isListed = false;             ///< its parent has listed it
    bool isAParent = false;            ///< somebody's, whether or not it was asked for its children
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
    std::optional<atspi::Reference> claimed; ///< its parent, by its own word

    Progress of(AtspiQuestion question) const { return progress[static_cast<std::size_t>(question)]; }
    void set(AtspiQuestion question, Progress next) { progress[static_cast<std::size_t>(question)] = next; }
    bool isAnswered(AtspiQuestion question) const { return of(question) == Progress::answered; }
    bool has(AtspiState state) const { return states && states->has(state); }

    /// Notes the answer to any question but `children` and `actions`; null for none. What is not understood
    /// is nothing.
    void take(AtspiQuestion question, sd_bus_message* reply);
    /// Back to knowing nothing but where it is.
    void forget();
    /// Bytes of its texts.
    std::size_t textSize() const;
    void forgetTexts();
};

/// The elements of one reader, each once. An index is good for ever.
class AtspiNodes {
public:
    using Index = AtspiNode::Index;
    static constexpr std::size_t maxNodes = 200'000;

    AtspiNode& operator[](Index index) { return nodes[index]; }
    AtspiNode const& operator[](Index index) const { return nodes[index]; }
    std::size_t size() const { return nodes.size(); }

    /// The element of that path, made when it is new; nothing when there are too many.
    std::optional<Index> find(AtspiExchange::PeerId peer, std::string const& path);
    /// Makes elements the children of a parent, but for those that somebody has listed already: a tree has
    /// each once.
    void adopt(Index parent, std::vector<Index> const& listed);
    /// Makes an element that nobody has listed the child of another. False when it has another parent, or
    /// would be above itself.
    bool hang(Index child, Index parent);
    /// Forgets all answers, and who listed whom.
    void forgetAnswers();

    /// Does it come before the other in a walk? Both below the same root.
    bool isBefore(Index left, Index right) const;
    AxRole axRole(Index index) const;
    AtspiPlace placeOf(Index index) const;
    /// Is it a password field, or inside one?
    bool isSecret(Index index) const;

private:
    bool isAbove(Index upper, Index lower) const;

    std::deque<AtspiNode> nodes;
    std::vector<std::unordered_map<std::string, Index>> byPath; // of each peer
};

} // namespace zelvo
