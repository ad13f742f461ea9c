#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo::service {

/// Cuts bytes into lines, whose ends are "\n" or "\r\n". Of a line that is too long it keeps nothing.
class LineSplitter {
public:
    struct Line {
        std::string text;
        bool isTooLong = false;
        bool operator==(Line const&) const = default;
    };

    /// maxLine   bytes, without the end
    explicit LineSplitter(std::size_t maxLine) : maxLine(maxLine) {}

    /// Returns the lines that these bytes complete.
    std::vector<Line> add(std::string_view bytes);
    /// What follows the last line end; `nullopt` if that is nothing.
    std::optional<Line> rest();

private:
    void append(std::string_view bytes);
    Line take();

    std::size_t maxLine;
    std::string begun;
    bool isTooLong = false;
};

} // namespace zelvo::service
