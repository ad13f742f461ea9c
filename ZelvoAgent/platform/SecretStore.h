#pragma once

#include "base/Task.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace zelvo {

/// A secret that the store refused to keep or change.
struct SecretStoreFailure {
    std::int32_t status = 0; ///< the system's own number, or -1
};

/// The key ring, and where there is none a file that only the person can read. An item is named by service
/// and account. Calls run in order, off the caller's thread; a silent service counts as not answering after 2
/// s. Thread: any; resumes the caller on its own executor. Made by: platform/linux/LinuxSecretStore,
/// tests/fakes/FakeSecretStore.
class SecretStore {
public:
    virtual ~SecretStore() = default;
    /// Nothing when there is none or it cannot be read. Bytes that are not UTF-8 are repaired.
    virtual Task<std::optional<std::string>> get(std::string service, std::string account) = 0;
    /// Replaces or adds. Throws SecretStoreFailure.
    virtual Task<> set(std::string service, std::string account, std::string secret) = 0;
    virtual Task<> remove(std::string service, std::string account) = 0;
    /// Called on the main executor when the key ring appears or is unlocked. One observer.
    virtual void onBecameAvailable(std::function<void()> observer) = 0;
};

} // namespace zelvo
