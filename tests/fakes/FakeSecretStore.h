#pragma once

#include "platform/SecretStore.h"

#include <map>
#include <utility>

namespace zelvo {

/// Secrets in memory.
class FakeSecretStore final : public SecretStore {
public:
    std::map<std::pair<std::string, std::string>, std::string> items; ///< by service and account
    std::optional<std::int32_t> refusesWith; ///< if set, set() fails with this status
    std::function<void()> becameAvailable;   ///< called by the test
    std::function<Task<>()> delay;           ///< awaited after an item is read and before get() returns

    Task<std::optional<std::string>> get(std::string service, std::string account) override
    {
        auto const item = items.find({service, account});
        std::optional<std::string> const found =
            item == items.end() ? std::nullopt : std::optional(item->second);
        if (delay)
            co_await delay();
        co_return found;
    }
    Task<> set(std::string service, std::string account, std::string secret) override
    {
        if (refusesWith)
            throw SecretStoreFailure{*refusesWith};
        items[{service, account}] = secret;
        co_return;
    }
    Task<> remove(std::string service, std::string account) override
    {
        items.erase({service, account});
        co_return;
    }
    void onBecameAvailable(std::function<void()> observer) override { becameAvailable = std::move(observer); }
};

} // namespace zelvo
