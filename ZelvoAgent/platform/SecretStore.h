#pragma once

#include "base/Task.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace zelvo {

/// The store refused to keep or change a secret.
struct SecretStoreFailure {
    std::int32_t status = 0; ///< the system's error number, or -1
};

/// The key ring, or without one a file that only the user can read. Service and account identify an item.
/// Calls run in order, off the caller's thread; a service that is silent for 2 s counts as absent.
/// Thread: any; resumes the caller on its own executor.
/// Made by: platform/linux/system/LinuxSecretStore, tests/fakes/FakeSecretStore.
class SecretStore {
public:
    virtual ~SecretStore() = default;
    /// `nullopt` if there is none or it cannot be read. Invalid UTF-8 is repaired.
    virtual Task<std::optional<std::string>> get(std::string service, std::string account) = 0;
    /// Replaces or adds. Throws SecretStoreFailure.
    virtual Task<> set(std::string service, std::string account, std::string secret) = 0;
    virtual Task<> remove(std::string service, std::string account) = 0;
    /// Called on the main executor when the key ring appears or is unlocked. One observer.
    virtual void onBecameAvailable(std::function<void()> observer) = 0;
};

} // namespace zelvo
