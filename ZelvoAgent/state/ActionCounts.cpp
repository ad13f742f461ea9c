#include "state/ActionCounts.h"

#include "base/Text.h"
#include "state/ActivityWording.h"

#include <algorithm>
#include <limits>

namespace zelvo {

namespace {

using Part = ActionCounts::Part;

struct Counter {
    ActionCounts& counts;

    void operator()(InputAction::Move const&) const { ++counts.moves; }
    void operator()(InputAction::Click const& click) const { clicked(click.count); }
    void operator()(InputAction::MouseDown const&) const { clicked(1); }
    void operator()(InputAction::ClickElement const&) const { clicked(1); }
    void operator()(InputAction::MouseUp const&) const {}
    void operator()(InputAction::Wait const&) const {}
    void operator()(InputAction::Drag const&) const
    {
        ++counts.drags;
        saw(Part::drag);
    }
    void operator()(InputAction::Scroll const&) const
    {
        ++counts.scrolls;
        saw(Part::scroll);
    }
    void operator()(InputAction::Type const& type) const { typed(type.text); }
    void operator()(InputAction::SetValue const& set) const { typed(set.text); }
    void operator()(InputAction::Key const& key) const
    {
        counts.keyNames.push_back(ActivityWording::keyName(key.keys));
        saw(Part::keys);
    }

    void clicked(std::int64_t count) const
    {
        // The agent chooses the count, so the sum saturates instead of overflowing.
        std::int64_t const room = std::numeric_limits<std::int64_t>::max() - counts.clicks;
        counts.clicks += std::min(std::max<std::int64_t>(count, 1), room);
        saw(Part::click);
    }

    void typed(std::string const& text) const
    {
        counts.characters += static_cast<std::int64_t>(text::characterCount(text));
        saw(Part::type);
    }

    void saw(Part part) const
    {
        if (std::ranges::find(counts.parts, part) == counts.parts.end())
            counts.parts.push_back(part);
    }
};

} // namespace

ActionCounts ActionCounts::of(std::vector<InputAction> const& list)
{
    ActionCounts counts;
    for (InputAction const& action : list)
        std::visit(Counter{counts}, action.value);
    return counts;
}

} // namespace zelvo
