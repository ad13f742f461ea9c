#pragma once

#include "base/AsyncCondition.h"
#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/Pasteboard.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace zelvo {

class ClipboardLink;

/// Looks up the application of a process, also of one without windows. Called on the workers.
using ProcessNaming = std::function<RunningApplication(std::int32_t pid)>;

/// Counts the clipboard's changes and identifies the owner that each one gave it, while that owner runs: by
/// the process of the owner's X client. Thread: agent, except where noted.
class ClipboardChanges : public std::enable_shared_from_this<ClipboardChanges> {
public:
    /// Thread: any. The clock must outlive this.
    /// naming  may be empty; owners are then unknown
    ClipboardChanges(Contexts contexts,
                     Clock& clock,
                     std::shared_ptr<ClipboardLink> link,
                     ProcessNaming naming);

    /// Asks who owns the clipboard, and who manages it.
    void start();
    /// The event of a new owner of either.
    void noteOwner(void const* event);
    /// The manager is asked to keep our text: what it takes next is that.
    void expectKeeping() { endOfOwner = clock.now(); }
    /// Thread: any.
    std::int64_t count() const { return changes.load(); }
    /// The clipboard manager's window; 0 without one.
    std::uint32_t manager() const { return managerWindow; }
    /// See Pasteboard::changesAfter(). Waits until their owners are identified.
    Task<std::vector<ClipboardChange>> after(std::int64_t count);

private:
    /// A change and the window that owns the clipboard since then.
    struct Entry {
        ClipboardChange change;
        std::uint32_t client = 0; ///< the owner's client of the server
        Instant at;
        bool isIdentified = false;
    };
    using SharedEntry = std::shared_ptr<Entry>;

    /// Whether a manager takes the clipboard only to keep the text of an owner that has ended.
    bool isKept(std::uint32_t owner) const;
    void add(std::int64_t count, std::uint32_t owner);
    void identify(SharedEntry const& entry, std::uint32_t owner);
    void name(SharedEntry const& entry, std::int32_t pid);
    void finish(SharedEntry const& entry, RunningApplication const& owner);
    bool isManagers(std::uint32_t owner) const;
    bool isKnownAfter(std::int64_t count) const;

    Contexts contexts;
    Clock& clock;
    std::shared_ptr<ClipboardLink> link;
    ProcessNaming naming;
    std::uint32_t managerWindow = 0;
    bool knowsContentAtStart = false;
    std::optional<Instant> endOfOwner; ///< `nullopt` while the clipboard has an owner
    std::deque<SharedEntry> entries;   ///< the latest ones, oldest first
    AsyncCondition identified;
    std::atomic<std::int64_t> changes = 0; // any thread
};

} // namespace zelvo
