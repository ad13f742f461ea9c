#pragma once

#include "platform/SecretStore.h"

#include <optional>
#include <string>

namespace zelvo {

/// The program's secrets. There is only one: the machine's token for the gateway.
/// Thread: any.
class Keychain {
public:
    enum class Item { machineToken };

    explicit Keychain(SecretStore& store) : store(store) {}

    Task<std::optional<std::string>> get(Item item) { return store.get(service, account(item)); }
    /// Throws SecretStoreFailure.
    Task<> set(std::string secret, Item item) { return store.set(service, account(item), std::move(secret)); }
    Task<> remove(Item item) { return store.remove(service, account(item)); }

private:
    static constexpr char const* service = "dev.zelvo.agent";
    static std::string account(Item) { return "machine_token"; }

    SecretStore& store;
};

} // namespace zelvo
