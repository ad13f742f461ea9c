#pragma once

#include "platform/linux/wayland/client/WaylandClient.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zelvo {

/// A content of the clipboard that the compositor offers. Thread: agent.
class ClipboardOffer {
public:
    virtual ~ClipboardOffer() = default;
    virtual std::vector<std::string> const& types() const = 0;
    /// False if it has more types than are taken: 256, with names of 256 bytes.
    virtual bool hasAllTypes() const = 0;
    /// Lets the owner write the content into a pipe, whose end the caller closes.
    virtual void receive(std::string const& type, int pipe) = 0;
};

/// A content of ours. Its end takes it back. Thread: agent.
class ClipboardSource {
public:
    virtual ~ClipboardSource() = default;
};

/// The clipboard by zwlr_data_control or ext_data_control, which differ in their names only. Thread: agent;
/// before that, the one that reads the connection.
class DataControl {
public:
    struct Events {
        /// The clipboard's content changed; null if it is empty now. Also called for the first content.
        std::function<void(std::shared_ptr<ClipboardOffer>)> selection;
        /// The compositor gives the clipboard up.
        std::function<void()> finished;
    };
    struct SourceEvents {
        /// A reader wants the content. The pipe is owned.
        std::function<void(std::string const& type, int pipe)> send;
        std::function<void()> cancelled; ///< another program owns the clipboard
    };

    /// Whether the compositor has one of the protocols.
    static bool isOffered(WaylandClient const& client);
    /// Null if it has not, or has no seat.
    static std::shared_ptr<DataControl> open(std::shared_ptr<WaylandClient> client, Events events);
    virtual ~DataControl() = default;

    /// Takes the clipboard for a content in these forms. The caller keeps it until `cancelled`.
    virtual std::unique_ptr<ClipboardSource> own(std::vector<std::string> const& types,
                                                 SourceEvents events) = 0;
    /// Leaves the clipboard empty.
    virtual void clear() = 0;
};

} // namespace zelvo
