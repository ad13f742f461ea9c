#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace zelvo {

/// The message that is being read. A small one is read into a reused block and copied once. A large one is
/// read directly into the resulting text, which uses memory only as bytes arrive: a peer that announces much
/// and sends little costs little.
class MessageAssembly {
public:
    /// Room for the next bytes. `announced` is the number of bytes left in the current frame, as far as it is
    /// known.
    std::span<char> room(std::size_t announced);
    /// `count` bytes of the last room() are filled.
    void filled(std::size_t count);
    std::size_t size() const { return used; }
    /// The complete message; the next one starts empty.
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
