#pragma once

#include "ZelvoGateway/base/OwnedDescriptor.h"
#include "ZelvoGateway/mcp/stdio/LineSplitter.h"

#include <functional>
#include <thread>

namespace zelvo::service {

/// A client's end of two descriptors: reads the lines of its input, and notices when nobody reads its output
/// any more. On a separate thread, because files and terminals cannot be awaited like sockets, and to await
/// them so would change how others see them.
class InputLines {
public:
    /// What becomes of a line; false ends the reading. It may block. `nullopt` is the end of the input.
    /// Thread: the separate one.
    using Take = std::function<bool(std::optional<LineSplitter::Line> line)>;

    struct Parts {
        int input = 0;           ///< read from, and not closed
        int output = 1;          ///< only watched
        std::size_t maxLine = 0; ///< bytes
        Take take;
        std::function<void()> unread; ///< nobody reads the output any more; on the separate thread
    };

    explicit InputLines(Parts wanted);
    InputLines(InputLines const&) = delete;
    InputLines& operator=(InputLines const&) = delete;
    /// Ends the reading, also one that waits. `take` must not block any more.
    ~InputLines();

private:
    enum class Event { input, unread, stop };

    void run();
    bool readSome();
    Event waitForEvent() const;

    Parts parts;
    LineSplitter splitter;
    bool hasEnded = false; // The input.
    OwnedDescriptor stop;  // Becomes readable when the reading is to end.
    std::thread thread;
};

} // namespace zelvo::service
