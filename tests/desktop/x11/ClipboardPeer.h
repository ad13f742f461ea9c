#pragma once

#include "desktop/harness/XQuestions.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo::test {

/// Another clipboard client on a separate connection, driven by the test: it acts only in pump(). As an owner
/// it does what `onRequest` says; as a requestor it keeps what it receives.
class ClipboardPeer {
public:
    struct Asked {
        xcb_window_t requestor;
        xcb_atom_t selection;
        xcb_atom_t target;
        xcb_atom_t property;
        xcb_timestamp_t time;
    };
    struct Value {
        xcb_atom_t type = 0;
        int format = 0;
        std::string bytes;
        std::vector<std::uint32_t> numbers() const;
    };

    explicit ClipboardPeer(std::string const& display);

    /// Handles pending events. False if there were none.
    bool pump();
    xcb_atom_t atom(std::string const& name);
    xcb_connection_t* x() { return connection.get(); }
    xcb_window_t window() const { return own; }
    /// Closes the connection, as when a program ends.
    void vanish() { connection.reset(); }

    // Owner.
    void take(std::string const& selection = "CLIPBOARD");
    bool owns(std::string const& selection = "CLIPBOARD");
    std::function<void(Asked const&)> onRequest; ///< refuses everything when it is empty
    /// Owns the clipboard and serves a text as one target. piece: 0 for the whole, else the bytes of each
    /// increment.
    void serve(std::string text, std::string const& form = "UTF8_STRING", std::size_t piece = 0);
    /// Sets a property and announces it as the answer.
    void give(Asked const& asked, std::string const& type, int format, std::string_view bytes);
    void put(Asked const& asked, std::string const& type, int format, std::string_view bytes);
    /// Announces an incremental transfer and sends each piece when the one before was taken. next: the next
    /// piece, empty at the end; `nullopt` to stop sending.
    void giveInPieces(Asked const& asked,
                      std::string const& type,
                      std::function<std::optional<std::string>()> next,
                      std::uint32_t saidSize = 1);
    void answer(Asked const& asked, xcb_atom_t property);
    std::vector<xcb_atom_t> targetsAsked; ///< in their order
    int piecesTaken = 0;

    // Requestor.
    /// Requests a target of the clipboard. property: empty for none.
    void ask(std::string const& target, std::string const& property = "ANSWER", xcb_timestamp_t time = 0);
    std::vector<xcb_selection_notify_event_t> answers;
    bool collects = true; ///< takes what it asked for, piece by piece
    std::optional<Value> received;
    Value read(std::string const& property, bool remove = true);
    void setNumbers(std::string const& property, std::string const& type, std::vector<std::uint32_t> numbers);

private:
    struct Sending {
        std::string type;
        std::function<std::optional<std::string>()> next;
    };
    void take(xcb_selection_request_event_t const& request);
    void take(xcb_selection_notify_event_t const& answer);
    void take(xcb_property_notify_event_t const& change);
    void collect(xcb_atom_t property);
    void sendNext(Asked const& asked, Sending& sending);
    Value read(xcb_atom_t property, bool remove);

    XConnection connection;
    xcb_window_t own = 0;
    std::map<std::string, xcb_atom_t> atoms;
    std::vector<std::pair<Asked, Sending>> sendings;
    bool collectsPieces = false;
    Value gathered;
};

} // namespace zelvo::test
