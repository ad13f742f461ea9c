#pragma once

#include <cstdint>
#include <memory>
#include <vector>

namespace zelvo::test {

/// A sender of pictures of one color, as a compositor is one, on a thread of its own. Memory of a graphics
/// card is shared memory here under that name. Throws std::runtime_error without PipeWire. Thread: the
/// test's.
class PlayedStream {
public:
    enum class Memory { shared, card };
    struct Options {
        std::vector<Memory> offered; ///< the preferred one first
        std::uint32_t color = 0;     ///< 0xRRGGBB
        bool isCut = false;          ///< the memory is smaller than a picture
    };
    static constexpr std::uint32_t width = 640;
    static constexpr std::uint32_t height = 480;

    explicit PlayedStream(Options options);
    ~PlayedStream();
    PlayedStream(PlayedStream const&) = delete;
    PlayedStream& operator=(PlayedStream const&) = delete;

    /// The node, once PipeWire has numbered it.
    std::uint32_t node() const;
    /// How many buffers of that memory were made so far.
    int buffers(Memory memory) const;
    /// How many frames were sent so far.
    int frames() const;

private:
    struct State;
    std::unique_ptr<State> state;
};

} // namespace zelvo::test
