#pragma once

#include "platform/linux/wayland/ClientList.h"

namespace zelvo {

/// The connected processes that a test gives it. Thread: one.
class FakeClientList final : public ClientList {
public:
    std::optional<std::vector<std::int32_t>> connected = std::vector<std::int32_t>();
    int looks = 0;

    std::optional<std::vector<std::int32_t>> processes() override
    {
        ++looks;
        return connected;
    }
};

} // namespace zelvo
