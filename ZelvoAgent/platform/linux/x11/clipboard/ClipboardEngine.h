#pragma once

#include "base/AsyncCondition.h"
#include "base/Clock.h"
#include "base/Contexts.h"
#include "platform/linux/x11/clipboard/ClipboardReading.h"
#include "platform/linux/x11/clipboard/ClipboardServing.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace zelvo {

/// What a look at the clipboard has found.
struct ClipboardContent {
    std::shared_ptr<OfferedText const> own; ///< ours, which nobody need be asked for
    std::optional<ClipboardBytes> foreign;

    std::size_t size() const;
    /// Empty when it is longer than what is read.
    std::string text() const;
};

/// Both sides of the clipboard on one connection: hands what comes from the server to the one whom it
/// concerns, and counts the changes. Thread: agent, but for what says otherwise.
class ClipboardEngine : public std::enable_shared_from_this<ClipboardEngine> {
public:
    /// Thread: any. The clock outlives this.
    ClipboardEngine(Contexts contexts, Clock& clock, std::shared_ptr<ClipboardLink> link);

    /// Takes all that has come, and sends what is to be sent.
    void arrived();
    /// Asks the owner for its text, unless that is this program.
    Task<ClipboardContent> find();
    /// Takes the clipboard for a text. False when the server does not give it.
    Task<bool> own(std::shared_ptr<OfferedText const> text);
    /// Gives the text to a clipboard manager, if both are there.
    Task<> save();
    /// Thread: any.
    std::int64_t changeCount() const { return changes.load(); }

private:
    /// A yes or no that is waited for.
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
    void countChange(std::uint32_t owner, bool hasEnded);
    void askManager(std::uint32_t time);
    void watchTransfers();
    Task<> finish(std::shared_ptr<ClipboardReading> reading);
    /// False when there is no answer in time.
    Task<bool> answered(std::shared_ptr<Outcome> outcome, Duration patience);

    Contexts contexts;
    Clock& clock;
    std::shared_ptr<ClipboardLink> link;
    ClipboardServing serving;
    std::map<std::uint32_t, std::shared_ptr<ClipboardReading>> readings; ///< by their windows
    std::shared_ptr<Outcome> saving;
    std::uint32_t manager = 0; ///< the clipboard manager's window
    bool isWatching = false;
    std::atomic<std::int64_t> changes = 0; // any thread
};

} // namespace zelvo
