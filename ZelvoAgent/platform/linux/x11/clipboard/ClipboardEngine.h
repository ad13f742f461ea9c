#pragma once

#include "base/AsyncCondition.h"
#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/linux/x11/clipboard/ClipboardChanges.h"
#include "platform/linux/x11/clipboard/ClipboardReading.h"
#include "platform/linux/x11/clipboard/ClipboardServing.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// The content of the clipboard.
struct ClipboardContent {
    std::shared_ptr<OfferedText const> own; ///< ours, so no other program is asked
    std::optional<ClipboardBytes> foreign;

    std::size_t size() const;
    /// Empty if it is longer than the limit.
    std::string text() const;
};

/// Both sides of the clipboard on one connection: dispatches events to reading, serving and the count of
/// changes.
/// Thread: agent, except where noted.
class ClipboardEngine : public std::enable_shared_from_this<ClipboardEngine> {
public:
    /// Thread: any. The clock must outlive this.
    ClipboardEngine(Contexts contexts,
                    Clock& clock,
                    std::shared_ptr<ClipboardLink> link,
                    ProcessNaming naming);

    /// Handles all events that have arrived, and sends what is due.
    void arrived();
    /// Asks the owner for its text, unless this program is the owner.
    Task<ClipboardContent> find();
    /// Takes the selection for a text. False if the server refuses.
    Task<bool> own(std::shared_ptr<OfferedText const> text);
    /// Gives the text to a clipboard manager, if there are both.
    Task<> save();
    /// Thread: any.
    std::int64_t changeCount() const { return changes->count(); }
    /// See Pasteboard::changesAfter().
    Task<std::vector<ClipboardChange>> changesAfter(std::int64_t count);

private:
    /// A yes or no that arrives later.
    class Outcome {
    public:
        void set(bool value);
        Task<bool> get();

    private:
        AsyncCondition list;
        std::optional<bool> known; // list
    };

    void take(void const* event);
    void takeError(void const* event);
    void takeAnswer(void const* event);
    void takeProperty(void const* event);
    void takeOwner(void const* event);
    void askManager(std::uint32_t time);
    void watchTransfers();
    Task<> finish(std::shared_ptr<ClipboardReading> reading);
    /// False if there is no answer in time.
    Task<bool> answered(std::shared_ptr<Outcome> outcome, Duration patience);

    Contexts contexts;
    Clock& clock;
    std::shared_ptr<ClipboardLink> link;
    ClipboardServing serving;
    std::map<std::uint32_t, std::shared_ptr<ClipboardReading>> readings; ///< by window
    std::shared_ptr<Outcome> saving;
    std::shared_ptr<ClipboardChanges> const changes;
    bool isWatching = false;
};

} // namespace zelvo
