#include "platform/linux/x11/windows/ClientStandings.h"

#include "platform/linux/x11/PropertyValues.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/XBatch.h"

#include <algorithm>
#include <array>
#include <span>

namespace zelvo {

namespace {

using Property = xcb_get_property_reply_t;

constexpr std::uint32_t withdrawnState = 0; // Of WM_STATE.

class Questions {
public:
    explicit Questions(X11Connection const& connection)
        : x(connection.get()), atoms(connection.atoms()), batch(x)
    {
    }

    template <class Handler>
    void ask(std::uint32_t window, std::uint32_t atom, std::uint32_t words, Handler handler)
    {
        batch.ask(xcb_get_property(x, 0, window, atom, XCB_ATOM_ANY, 0, words), xcb_get_property_reply,
                  handler);
    }

    void askStanding(std::uint32_t window, ClientStanding& standing)
    {
        // In this order: a window out of the window manager's care is not regular whatever its type.
        ask(window, atoms.netWmWindowType, 32,
            [this, &standing](Property const& reply) { standing.regular = isRegularType(numbersIn(reply)); });
        ask(window, atoms.wmState, 1, [&standing](Property const& reply) {
            auto const state = numbersIn(reply);
            standing.regular = standing.regular && !state.empty() && state.front() != withdrawnState;
        });
        ask(window, atoms.netWmState, 64, [this, &standing](Property const& reply) {
            auto const states = numbersIn(reply);
            standing.minimised = std::ranges::find(states, atoms.netWmStateHidden) != states.end();
            standing.shaded = std::ranges::find(states, atoms.netWmStateShaded) != states.end();
        });
        ask(window, atoms.netStartupId, 64, [&standing](Property const& reply) {
            if (reply.format == 8)
                standing.startupId.assign(static_cast<char const*>(xcb_get_property_value(&reply)),
                                          static_cast<std::size_t>(xcb_get_property_value_length(&reply)));
        });
    }

    void run() { batch.run(); }

private:
    /// The types stand in the order of preference; the first that we know counts. A window without one is
    /// normal, or a dialog when it is transient; so is one with types of its toolkit alone.
    bool isRegularType(std::span<std::uint32_t const> types) const
    {
        for (std::uint32_t const type : types) {
            if (type == atoms.typeNormal || type == atoms.typeDialog)
                return true;
            if (isKnownType(type))
                return false;
        }
        return true;
    }

    bool isKnownType(std::uint32_t type) const
    {
        std::array const others{atoms.typeDesktop,   atoms.typeDock,    atoms.typeToolbar,
                                atoms.typeMenu,      atoms.typeUtility, atoms.typeSplash,
                                atoms.typeTooltip,   atoms.typeDragged, atoms.typeDropdownMenu,
                                atoms.typePopupMenu, atoms.typeCombo,   atoms.typeNotification};
        return std::ranges::find(others, type) != others.end();
    }

    xcb_connection_t* x;
    X11Atoms const& atoms;
    XBatch batch;
};

} // namespace

std::map<std::uint32_t, ClientStanding> clientStandings(X11Connection const& connection,
                                                        std::vector<std::uint32_t> const& windows)
{
    std::map<std::uint32_t, ClientStanding> standings;
    Questions questions(connection);
    for (std::uint32_t const window : windows)
        questions.askStanding(window, standings[window]);
    questions.run();
    return standings;
}

ManagedWindows managedWindows(X11Connection const& connection)
{
    ManagedWindows managed;
    Questions questions(connection);
    auto const take = [&](std::uint32_t atom, std::vector<std::uint32_t>& into) {
        questions.ask(connection.root(), atom, 4096, [&into](Property const& reply) {
            auto const list = numbersIn(reply);
            into.assign(list.begin(), list.end());
        });
    };
    take(connection.atoms().netClientList, managed.oldestFirst);
    take(connection.atoms().netClientListStacking, managed.bottomToTop);
    questions.run();
    return managed;
}

} // namespace zelvo
