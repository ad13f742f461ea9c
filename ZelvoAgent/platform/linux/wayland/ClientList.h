#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace zelvo {

/// The programs that could show something on the compositor.
/// Thread: any; takes a few milliseconds.
/// Made by: wayland/ClientSockets, tests/fakes/FakeClientList.
class ClientList {
public:
    virtual ~ClientList() = default;
    /// The processes that hold a connection to the compositor or to its X server. `nullopt` if that cannot be
    /// read; then anything may be connected.
    virtual std::optional<std::vector<std::int32_t>> processes() = 0;
};

} // namespace zelvo
