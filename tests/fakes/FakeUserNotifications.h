#pragma once

#include "platform/UserNotifications.h"

#include <string>
#include <utility>
#include <vector>

namespace zelvo {

/// Records title and body of each notification.
class FakeUserNotifications final : public UserNotifications {
public:
    std::vector<std::pair<std::string, std::string>> shown;

    void show(std::string title, std::string body) override
    {
        shown.emplace_back(std::move(title), std::move(body));
    }
};

} // namespace zelvo
