#pragma once

#include "base/AsyncCondition.h"
#include "base/Clock.h"
#include "platform/linux/x11/clipboard/ClipboardBytes.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace zelvo {

class ClipboardLink;

/// One reading of another program's text. It has a separate window, so that a late answer reaches no other
/// reading. Asks for one target after another until one succeeds. Thread: agent.
class ClipboardReading : public std::enable_shared_from_this<ClipboardReading> {
public:
    ClipboardReading(std::shared_ptr<ClipboardLink> link, Clock& clock);
    ~ClipboardReading();
    ClipboardReading(ClipboardReading const&) = delete;
    ClipboardReading& operator=(ClipboardReading const&) = delete;

    void start();
    /// Resumes when the reading is over.
    Task<> finished();
    /// After the end: the text; `nullopt` if there was none.
    std::optional<ClipboardBytes> take();

    std::uint32_t window() const { return ownWindow; }
    void noteAnswer(void const* event);
    void noteProperty(void const* event);
    /// The clipboard has a new owner, or none because its owner ended.
    void noteOwner(void const* event);
    bool isOver() const { return over; }
    /// When to give up unless something arrives.
    Instant deadline() const;
    void giveUp() { end(false); }
    /// Destroys the window. Later answers reach nobody.
    void close();

private:
    std::vector<std::uint32_t> forms() const;
    std::optional<ClipboardEncoding> encodingOf(std::uint32_t given) const;
    void askNext();
    void ask(std::uint32_t time);
    void fetch();
    void takeSlice(void const* raw);
    bool begins(void const* raw);
    void append(void const* raw);
    void waitForPiece();
    void noteEndOfOwner();
    void end(bool given);

    std::shared_ptr<ClipboardLink> link;
    Clock& clock;
    Instant lastSign;
    Instant latest;
    std::uint32_t ownWindow = 0;
    std::size_t next = 0;         ///< the target to ask for next
    bool isAsked = false;         ///< the last request is not answered yet
    std::uint32_t question = 0;   ///< the sequence number of the request
    bool isOfFormerOwner = false; ///< the asked program lost the clipboard but still delivers its text
    bool hasOwnerEnded = false;
    std::uint32_t offset = 0; ///< in the property, in units of four bytes
    std::uint32_t type = 0;   ///< of the first part
    bool inPieces = false;
    bool isFetching = false;
    bool isFresh = false; ///< the property was set since it was last read
    std::optional<ClipboardBytes> taken;
    AsyncCondition ended;
    bool over = false;
};

} // namespace zelvo
