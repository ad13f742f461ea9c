#pragma once

namespace zelvo {

/// The program's mark, which says in the tray and in windows what agents do.
struct ZelvoMark {
    enum class State { idle, working, paused };
};

} // namespace zelvo
