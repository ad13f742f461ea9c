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

/// One reading of another program's text, in a window of its own: what comes late for one reading reaches no
/// other. Asks for one form after the other until one is given. Thread: agent.
class ClipboardReading : public std::enable_shared_from_this<ClipboardReading> {
public:
    ClipboardReading(std::shared_ptr<ClipboardLink> link, Clock& clock);
    ~ClipboardReading();
    ClipboardReading(ClipboardReading const&) = delete;
    ClipboardReading& operator=(ClipboardReading const&) = delete;

    void start();
    /// Resumes when it is over.
    Task<> finished();
    /// After it is over: the text; nothing when none was given.
    std::optional<ClipboardBytes> take();

    std::uint32_t window() const { return ownWindow; }
    void noteAnswer(void const* event);
    void noteProperty(void const* event);
    /// The clipboard has another owner, or none since its owner has ended.
    void noteOwner(void const* event);
    bool isOver() const { return over; }
    /// When it is to be given up, unless something comes.
    Instant deadline() const;
    void giveUp() { end(false); }
    /// Takes the window away. What still comes for it reaches nobody.
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
    std::size_t next = 0;         ///< the form that is asked for after this one
    bool isAsked = false;         ///< that before has not been answered yet
    std::uint32_t question = 0;   ///< the number of the request that asked
    bool isOfFormerOwner = false; ///< who was asked has lost the clipboard, and still gives its text
    bool hasOwnerEnded = false;
    std::uint32_t offset = 0; ///< in the property, in units of four bytes
    std::uint32_t type = 0;   ///< of the first piece
    bool inPieces = false;
    bool isFetching = false;
    bool isFresh = false; ///< the property was set since it was last looked at
    std::optional<ClipboardBytes> taken;
    AsyncCondition ended;
    bool over = false;
};

} // namespace zelvo
