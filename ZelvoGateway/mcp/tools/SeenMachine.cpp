#include "ZelvoGateway/mcp/tools/SeenMachine.h"

#include <algorithm>
#include <utility>

namespace zelvo::service {

namespace {

std::size_t bytesOf(std::vector<ReferencedElement> const& elements)
{
    std::size_t bytes = 0;
    for (ReferencedElement const& one : elements) {
        SeenElement const& element = one.element;
        bytes += sizeof one + element.id.size() + element.role.size() + element.name.size() +
                 element.identifier.size() + element.value.size();
    }
    return bytes;
}

bool isSame(std::weak_ptr<void const> const& left, std::weak_ptr<void const> const& right)
{
    return !left.owner_before(right) && !right.owner_before(left);
}

} // namespace

std::shared_ptr<SeenTree const> SeenMachine::add(SeenTree tree, std::vector<SeenElement> elements)
{
    Application& application = applicationOf(tree.application, tree.view);
    tree.name = "s" + std::to_string(numbers->take());
    tree.elements = application.references.update(std::move(elements));
    tree.bytes = bytesOf(tree.elements);
    auto const kept = std::make_shared<SeenTree const>(std::move(tree));
    application.newest = kept;
    return kept;
}

void SeenMachine::show(std::shared_ptr<SeenTree const> tree)
{
    trees.push_back(std::move(tree));
    if (trees.size() > maxTrees)
        trees.pop_front();
}

SeenMachine::Application& SeenMachine::applicationOf(std::string const& id, TreeView const& wanted)
{
    auto const known = std::ranges::find_if(
        applications, [&](Application const& one) { return one.id == id && one.view == wanted; });
    if (known != applications.end()) {
        Application moved = std::move(*known);
        applications.erase(known);
        return applications.emplace_back(std::move(moved));
    }
    if (applications.size() >= maxApplications)
        applications.pop_front();
    return applications.emplace_back(
        Application{.id = id,
                    .view = wanted,
                    .references = ElementReferences([source = numbers] { return source->take(); }),
                    .newest = nullptr});
}

std::shared_ptr<SeenTree const> SeenMachine::find(std::string_view name) const
{
    auto const found = std::ranges::find(trees, name, &SeenTree::name);
    return found == trees.end() ? nullptr : *found;
}

std::shared_ptr<SeenTree const> SeenMachine::newest() const
{
    return applications.empty() ? nullptr : applications.back().newest;
}

SeenReference SeenMachine::reference(std::string_view reference) const
{
    for (Application const& application : applications)
        if (ReferenceMatch match = application.references.find(reference);
            match.kind != ReferenceMatch::Kind::unknown)
            return {.match = std::move(match), .tree = application.newest};
    return {};
}

std::size_t SeenMachine::bytes() const
{
    std::size_t bytes = 0;
    for (auto const& tree : trees)
        bytes += tree->bytes;
    for (Application const& application : applications) // A second copy of the newest, and the looks.
        bytes += application.references.bytes() + (application.newest ? application.newest->bytes : 0);
    return bytes;
}

void SeenMachine::forgetOld()
{
    while (trees.size() > 1)
        trees.pop_front();
    while (applications.size() > 1)
        applications.pop_front();
}

void SeenMachine::noteSession(std::weak_ptr<void const> const& now)
{
    if (isSame(session, now))
        return;
    session = now;
    lacksSettle = false;
    lacksWait = false;
}

} // namespace zelvo::service
