#pragma once

#include "ZelvoGateway/mcp/ElementReferences.h"
#include "ZelvoGateway/mcp/tools/ReferenceNumbers.h"
#include "ZelvoGateway/mcp/tools/ScreenSpace.h"
#include "base/Clock.h"

#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo::service {

/// Which elements a tree has.
struct TreeView {
    std::string scope = "frontmost";
    bool isInteractiveOnly = true;
    bool operator==(TreeView const&) const = default;
};

/// A tree as a conversation saw it.
struct SeenTree {
    std::string name;            ///< such as "s12"
    std::string application;     ///< its identifier
    std::string applicationName; ///< fit for one line; may be empty
    TreeView view;
    std::vector<ReferencedElement> elements;
    std::string snapshot; ///< the machine's id for it
    Instant taken{};
    bool isTruncated = false;
    std::size_t bytes = 0; ///< about its memory
};

/// What a reference means now.
struct SeenReference {
    ReferenceMatch match;
    /// The newest tree in which it can be; null if it is unknown, or if that tree is forgotten.
    std::shared_ptr<SeenTree const> tree = {};
};

/// What one conversation has seen of one machine.
/// Thread: one.
class SeenMachine {
public:
    static constexpr std::size_t maxTrees = 8;
    static constexpr std::size_t maxApplications = 8;

    explicit SeenMachine(std::shared_ptr<ReferenceNumbers::Part> numbers) : numbers(std::move(numbers)) {}

    /// Takes a new tree; its elements get their references.
    /// tree   without name and elements
    std::shared_ptr<SeenTree const> add(SeenTree tree, std::vector<SeenElement> elements);
    /// The model gets to see a tree, and may ask what changed since.
    void show(std::shared_ptr<SeenTree const> tree);
    /// A tree that was shown; null if it never was, or is forgotten.
    std::shared_ptr<SeenTree const> find(std::string_view name) const;
    /// The last one that was shown; null before the first.
    std::shared_ptr<SeenTree const> lastShown() const { return trees.empty() ? nullptr : trees.back(); }
    /// The last one that was read; null before the first.
    std::shared_ptr<SeenTree const> newest() const;
    SeenReference reference(std::string_view reference) const;
    /// About the memory that it takes.
    std::size_t bytes() const;
    /// Keeps only the last tree that was shown, and the application that was seen last.
    void forgetOld();
    /// The machine connected anew: what its agent lacked may be there now.
    void noteSession(std::weak_ptr<void const> const& now);

    ScreenSpace space;        ///< of the last answer with coordinates
    TreeView view;            ///< that the model looks with
    bool lacksSettle = false; ///< the machine's agent does not know "screen.settle"
    bool lacksWait = false;   ///< nor "ui.wait"

private:
    /// The elements of one application in one view.
    struct Application {
        std::string id;
        TreeView view;
        ElementReferences references;
        std::shared_ptr<SeenTree const> newest;
    };

    Application& applicationOf(std::string const& id, TreeView const& wanted);

    std::shared_ptr<ReferenceNumbers::Part> numbers;
    std::deque<std::shared_ptr<SeenTree const>> trees; // the newest last
    std::deque<Application> applications;              // the last one seen last
    std::weak_ptr<void const> session;
};

} // namespace zelvo::service
