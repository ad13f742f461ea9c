#include "platform/linux/x11/clipboard/ClipboardChanges.h"

#include "base/Hop.h"
#include "platform/linux/x11/clipboard/ClipboardLink.h"

#include <xcb/res.h>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace zelvo {

namespace {

/// The watcher asks twice a second.
constexpr std::size_t maxEntries = 64;
/// The server answers at once, unless another program has grabbed it.
constexpr Duration patience = 5s;
/// How soon a clipboard manager takes the text of an owner that has ended.
constexpr Duration keeping = 2s;
/// How long an owner counts as the same application without being looked up again.
constexpr Duration freshness = 500ms;

std::optional<std::int32_t> pidIn(void const* raw)
{
    auto const* const reply = static_cast<xcb_res_query_client_ids_reply_t const*>(raw);
    if (!reply)
        return std::nullopt;
    for (auto item = xcb_res_query_client_ids_ids_iterator(reply); item.rem;
         xcb_res_client_id_value_next(&item))
        if (xcb_res_client_id_value_value_length(item.data) > 0)
            return static_cast<std::int32_t>(*xcb_res_client_id_value_value(item.data));
    return std::nullopt;
}

} // namespace

ClipboardChanges::ClipboardChanges(Contexts contexts,
                                   Clock& clock,
                                   std::shared_ptr<ClipboardLink> link,
                                   ProcessNaming naming)
    : contexts(std::move(contexts)), clock(clock), link(std::move(link)), naming(std::move(naming)),
      endOfOwner(clock.now())
{
}

void ClipboardChanges::start()
{
    auto const ask = [this](std::uint32_t selection, auto take) {
        auto const asked = xcb_get_selection_owner(link->x(), selection);
        link->expect(asked.sequence, [weak = weak_from_this(), take](void const* reply) {
            if (auto const self = weak.lock())
                take(*self, reply ? static_cast<xcb_get_selection_owner_reply_t const*>(reply)->owner : 0);
        });
    };
    ask(link->atoms().manager, [](ClipboardChanges& self, std::uint32_t owner) {
        if (self.managerWindow == 0)
            self.managerWindow = owner;
    });
    ask(link->atoms().clipboard, [](ClipboardChanges& self, std::uint32_t owner) {
        if (owner && self.count() == 0) {
            self.endOfOwner.reset();
            self.add(0, owner);
        }
        self.identified.notifyAll([&] { self.knowsContentAtStart = true; });
    });
}

void ClipboardChanges::noteOwner(void const* event)
{
    auto const& change = *static_cast<xcb_xfixes_selection_notify_event_t const*>(event);
    if (change.selection == link->atoms().manager) {
        managerWindow = change.owner;
        return;
    }
    bool const hasEnded =
        change.subtype != XCB_XFIXES_SELECTION_EVENT_SET_SELECTION_OWNER || change.owner == XCB_NONE;
    if (hasEnded) {
        endOfOwner = clock.now();
        return;
    }
    bool const keeps = isKept(change.owner);
    endOfOwner.reset();
    if (!keeps)
        add(++changes, change.owner);
}

bool ClipboardChanges::isManagers(std::uint32_t owner) const
{
    return managerWindow && link->server()->clientOf(owner) == link->server()->clientOf(managerWindow);
}

bool ClipboardChanges::isKept(std::uint32_t owner) const
{
    return isManagers(owner) && endOfOwner && clock.now() - *endOfOwner <= keeping;
}

void ClipboardChanges::add(std::int64_t count, std::uint32_t owner)
{
    auto const entry = std::make_shared<Entry>();
    entry->change.count = count;
    entry->client = link->server()->clientOf(owner);
    entry->at = clock.now();
    entry->change.isOurs = entry->client == link->server()->clientOf(link->window());
    entry->change.isManagers = isManagers(owner);
    entries.push_back(entry);
    if (entries.size() > maxEntries)
        entries.pop_front();
    identify(entry, owner);
}

void ClipboardChanges::identify(SharedEntry const& entry, std::uint32_t owner)
{
    if (entry->change.isOurs || !naming || !link->server()->capabilities().res) {
        finish(entry, {});
        return;
    }
    auto const last = std::ranges::find_if(entries, [&](SharedEntry const& other) {
        return other != entry && other->client == entry->client && entry->at - other->at < freshness;
    });
    if (last != entries.end()) {
        if ((*last)->isIdentified) // Otherwise it is looked up for both.
            finish(entry, (*last)->change.owner);
        return;
    }
    xcb_res_client_id_spec_t const spec{owner, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    auto const asked = xcb_res_query_client_ids(link->x(), 1, &spec);
    link->expect(asked.sequence, [weak = weak_from_this(), entry](void const* reply) {
        auto const self = weak.lock();
        if (!self)
            return;
        if (auto const pid = pidIn(reply))
            self->name(entry, *pid);
        else
            self->finish(entry, {});
    });
}

void ClipboardChanges::name(SharedEntry const& entry, std::int32_t pid)
{
    spawn(contexts.agent, [self = shared_from_this(), entry, pid]() -> Task<> {
        RunningApplication owner;
        try {
            owner = co_await on(self->contexts.workers, [&] { return self->naming(pid); });
        } catch (...) { // The owner is then unknown.
        }
        self->finish(entry, owner);
    });
}

void ClipboardChanges::finish(SharedEntry const& entry, RunningApplication const& owner)
{
    identified.notifyAll([&] {
        for (SharedEntry const& each : entries)
            if (each->client == entry->client && !each->isIdentified) {
                each->change.owner = owner;
                each->isIdentified = true;
            }
    });
}

Task<std::vector<ClipboardChange>> ClipboardChanges::after(std::int64_t count)
{
    if (!isKnownAfter(count)) {
        auto const isLate = std::make_shared<bool>(false);
        TaskHandle watch = spawn(contexts.agent, [self = shared_from_this(), isLate]() -> Task<> {
            co_await self->clock.sleep(patience);
            self->identified.notifyAll([&] { *isLate = true; });
        });
        auto const isEnough = [this, count, isLate] { return *isLate || isKnownAfter(count); };
        while (!isEnough())
            co_await identified.wait(isEnough);
        watch.cancel();
    }
    std::vector<ClipboardChange> found;
    for (SharedEntry const& entry : entries)
        if (entry->change.count > count)
            found.push_back(entry->change);
    co_return found;
}

bool ClipboardChanges::isKnownAfter(std::int64_t count) const
{
    return knowsContentAtStart && std::ranges::all_of(entries, [count](SharedEntry const& entry) {
               return entry->isIdentified || entry->change.count <= count;
           });
}

} // namespace zelvo
