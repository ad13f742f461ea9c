#include "platform/linux/input/KeyPositions.h"

#include <array>
#include <utility>

namespace zelvo {

namespace {

struct Position {
    std::uint16_t virtualKey;
    std::uint8_t keycode;
};

constexpr std::array positions{
    // Letters, row by row.
    Position{12, 24}, Position{13, 25}, Position{14, 26}, Position{15, 27}, Position{17, 28},
    Position{16, 29}, Position{32, 30}, Position{34, 31}, Position{31, 32}, Position{35, keycodeOfP},
    Position{0, 38}, Position{1, 39}, Position{2, 40}, Position{3, 41}, Position{5, 42}, Position{4, 43},
    Position{38, 44}, Position{40, 45}, Position{37, 46}, Position{6, 52}, Position{7, 53}, Position{8, 54},
    Position{9, 55}, Position{11, 56}, Position{45, 57}, Position{46, 58},
    // Digits.
    Position{18, 10}, Position{19, 11}, Position{20, 12}, Position{21, 13}, Position{23, 14},
    Position{22, 15}, Position{26, 16}, Position{28, 17}, Position{25, 18}, Position{29, 19},
    // Signs.
    Position{27, 20}, Position{24, 21}, Position{33, 34}, Position{30, 35}, Position{41, 47},
    Position{39, 48}, Position{50, 49}, Position{42, 51}, Position{43, 59}, Position{47, 60},
    Position{44, 61},
    // Editing and moving.
    Position{36, 36}, Position{48, 23}, Position{49, 65}, Position{51, 22}, Position{53, 9},
    Position{117, 119}, Position{115, 110}, Position{119, 115}, Position{116, 112}, Position{121, 117},
    Position{123, 113}, Position{124, 114}, Position{125, 116}, Position{126, 111},
    // F1 to F12.
    Position{122, 67}, Position{120, 68}, Position{99, 69}, Position{118, 70}, Position{96, 71},
    Position{97, 72}, Position{98, 73}, Position{100, 74}, Position{101, 75}, Position{109, 76},
    Position{103, 95}, Position{111, 96}};

} // namespace

std::optional<std::uint8_t> keycodeAtPosition(std::uint16_t virtualKey)
{
    for (Position const& position : positions)
        if (position.virtualKey == virtualKey)
            return position.keycode;
    return std::nullopt;
}

} // namespace zelvo
