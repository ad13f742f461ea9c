#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace zelvo {

/// The message that is being read. A small one is read into a lasting block and copied out once; a large one
/// is read straight into the text that is handed on, which takes memory only as bytes really come: a peer
/// that announces much and sends little costs little.
class MessageAssembly {
public:
    /// Where the next bytes go. `announced` is how many the present frame still has, as far as it is known.
    std::span<char> room(std::size_t announced);
    /// `count` bytes of the last room() were filled.
    void filled(std::size_t count);
    std::size_t size() const { return used; }
    /// The message as it stands; the next one starts empty.
    std::string take();

private:
    static constexpr std::size_t blockBytes = std::size_t{16} << 10;
    static constexpr std::size_t stepBytes = std::size_t{256} << 10;

    std::vector<char> block = std::vector<char>(blockBytes);
    std::string text;
    std::size_t used = 0;
    bool intoBlock = true;
};

} // namespace zelvo
