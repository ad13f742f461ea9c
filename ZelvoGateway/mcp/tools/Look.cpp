#include "ZelvoGateway/mcp/tools/Look.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/mcp/TreeLines.h"
#include "ZelvoGateway/mcp/tools/ElementRoles.h"
#include "ZelvoGateway/mcp/tools/ScreenPicture.h"
#include "ZelvoGateway/mcp/tools/ToolText.h"
#include "base/Text.h"

#include <algorithm>
#include <utility>

namespace zelvo::service {

namespace {

constexpr std::size_t maxIdentifier = 400; // bytes

using Elements = std::vector<ReferencedElement>;

bool touches(SeenFrame const& left, SeenFrame const& right)
{
    return left.x < right.x + right.w && right.x < left.x + left.w && left.y < right.y + right.h &&
           right.y < left.y + left.h;
}

/// The elements that a model asked for, in the coordinates that it gets.
class ShownElements {
public:
    ShownElements(LookRequest const& request, ScreenSpace const& space)
        : request(request), space(space), find(text::lowercased(request.find)), role(shownRole(request.role))
    {
    }

    Elements of(Elements const& elements) const
    {
        Elements shown;
        for (ReferencedElement const& one : elements)
            if (isWanted(one.element)) {
                shown.push_back(one);
                shown.back().element.frame = space.toShown(one.element.frame);
            }
        return shown;
    }
    bool hasFilter() const { return !find.empty() || !role.empty() || request.region; }

private:
    bool isWanted(SeenElement const& element) const
    {
        if (!role.empty() && element.role != role)
            return false;
        if (request.region && (element.frame.isRelative || !touches(element.frame, *request.region)))
            return false;
        return find.empty() || text::lowercased(element.name).find(find) != std::string::npos ||
               text::lowercased(element.value).find(find) != std::string::npos;
    }

    LookRequest const& request;
    ScreenSpace const& space;
    std::string find;
    std::string role;
};

std::size_t lengthOf(std::vector<std::string> const& lines)
{
    std::size_t length = 0;
    for (std::string const& line : lines)
        length += line.size() + 1;
    return length;
}

std::string nameOf(SeenTree const& tree)
{
    return tree.applicationName.empty() ? "The application in front" : tree.applicationName;
}

std::string emptyTreeText(SeenTree const& tree)
{
    if (tree.isTruncated)
        return nameOf(tree) +
               " took too long to say what it shows, so here is the picture. Its elements may be "
               "there in a moment.";
    return nameOf(tree) + " shows no accessible elements, so here is the picture.";
}

/// Writes the part of a look that comes from a tree.
void describe(Look& look, SeenTree const& tree, LookRequest const& request, SeenMachine const& seen)
{
    ShownElements const filter(request, seen.space);
    Elements const shown = filter.of(tree.elements);
    look.heading = nameOf(tree) + " · " + tree.name;
    std::vector<std::string> lines = treeLines(shown, request.maxLines);
    auto const before = request.since ? seen.find(*request.since) : nullptr;
    bool const isComparable = before && before->application == tree.application && before->view == tree.view;
    std::vector<std::string> changes;
    if (isComparable)
        changes = changeLines(filter.of(before->elements), shown, request.maxLines);
    if (isComparable && lengthOf(changes) < lengthOf(lines)) {
        look.heading += ", changes since " + before->name;
        lines = std::move(changes);
    } else {
        look.heading += " · " + std::to_string(shown.size()) + (shown.size() == 1 ? " element" : " elements");
    }
    if (request.since && !before)
        look.lines.push_back("There is no tree " + tooltext::shownName(*request.since) +
                             " any more, so this is the whole one.");
    if (shown.empty() && filter.hasFilter())
        look.lines.push_back("None of its " + std::to_string(tree.elements.size()) + " elements matches.");
    std::ranges::move(lines, std::back_inserter(look.lines));
    if (tree.isTruncated)
        look.lines.emplace_back("The tree is truncated: the application has more elements than were read.");
}

/// The space of the picture, or of the one that would have been taken.
ScreenSpace spaceOf(std::optional<ScreenPicture> const& picture,
                    std::optional<DisplaySize> const& display,
                    PictureLimits limits)
{
    if (picture)
        return picture->space;
    return display ? wholeDisplay(*display, limits) : ScreenSpace();
}

std::string identifierIn(json::object const& object, std::string_view key)
{
    json::value const* const text = object.if_contains(key);
    if (!text || !text->is_string())
        return "";
    return std::string(text::prefixOfBytes(text->get_string(), maxIdentifier));
}

std::string pictureNote(ScreenPicture const& picture)
{
    std::string note = "Picture of " + sizeText(picture.pixels) + " pixels: ";
    return note + (picture.isPart
                       ? "only the part that you asked for. Coordinates are pixels of this picture."
                       : "the main display.");
}

} // namespace

void wantWhat(LookRequest& request, std::string_view what)
{
    request.wantsTree = what == "tree" || what == "both";
    request.wantsPicture = what == "screenshot" || what == "both";
}

Task<std::shared_ptr<SeenTree const>> readTree(MachineCallPtr call, TreeView view)
{
    json::object params{
        {"scope", view.scope}, {"interactiveOnly", view.isInteractiveOnly}, {"format", "json"}};
    CommandResult const result = co_await call->run("ui.tree", std::move(params));
    json::object const* const tree = result.value.if_object();
    if (!tree)
        throw Failure{.code = ErrorCode::internalError, .message = "The machine's tree makes no sense"};
    json::object const nobody;
    json::object const* const named = read::object(*tree, "app");
    json::object const& app = named ? *named : nobody;
    SeenTree seen{.application = identifierIn(app, "bundleId"),
                  .applicationName = tooltext::shownName(identifierIn(app, "name")),
                  .view = std::move(view),
                  .snapshot = identifierIn(*tree, "snapshotId"),
                  .taken = call->clock().now(),
                  .isTruncated = read::boolean(*tree, "truncated").value_or(false)};
    if (seen.application.empty())
        seen.application = seen.applicationName;
    auto const readElements = [tree] { return seenElements(*tree); };
    std::vector<SeenElement> elements = co_await readAnswer(call, result.bytes, readElements);
    co_return call->seen().add(std::move(seen), std::move(elements));
}

Task<Look> look(MachineCallPtr call, LookRequest request)
{
    SeenMachine& seen = call->seen();
    std::shared_ptr<SeenTree const> tree;
    if (request.wantsTree)
        tree = co_await readTree(call, request.view);
    bool const isBlind = tree && tree->elements.empty();
    std::optional<ScreenPicture> picture;
    if (request.wantsPicture || isBlind)
        picture = co_await takePicture(call, request.region);
    std::optional<DisplaySize> display;
    if (!picture)
        display = co_await call->displaySize();
    seen.space = spaceOf(picture, display, call->pictures());

    Look look;
    if (tree)
        describe(look, *tree, request, seen);
    if (isBlind)
        look.lines = {emptyTreeText(*tree)};
    if (tree && !picture && display)
        look.heading += " · main display " + sizeText(seen.space.shownSize());
    if (picture) {
        look.lines.push_back(pictureNote(*picture));
        look.pictures.push_back(std::move(picture->content));
    }
    if (tree)
        seen.show(tree);
    co_return look;
}

} // namespace zelvo::service
