#pragma once

#include "ZelvoGateway/audit/AuditLog.h"
#include "ZelvoGateway/base/ApiKey.h"
#include "ZelvoGateway/base/KeyRing.h"
#include "ZelvoGateway/store/Store.h"
#include "base/Task.h"

#include <boost/signals2/signal.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace zelvo::service {

/// What a new API key is to be.
struct KeyRequest {
    std::string name;
    Reach reach; ///< without connections and end users it becomes all
};

/// A new key. This is the only place where it can be read.
struct NewKey {
    StoredKey stored;
    std::string text;
};

/// Makes, finds and revokes API keys. A key that another process revokes stops working with the next request;
/// observers hear of it within a second. Thread: the server's. Errors: Failure.
class KeyService final : public KeyRing {
public:
    static constexpr std::size_t maxKeys = 500; ///< that are not revoked
    static constexpr std::size_t maxListed = 200;
    static constexpr std::size_t maxName = 100; ///< bytes
    static constexpr Duration watchPeriod = 1s; ///< how often other processes' revocations are looked for
    static constexpr Duration usePeriod = 60s;  ///< how old lastUsedAt may be

    KeyService(Store& store, AuditLog& audit, Clock& clock, Executor server);

    /// Adds the built-in key, or replaces it by the one that the data folder holds now. What was begun with
    /// the old one ends as if it was revoked.
    void setBuiltIn(ApiKey const& key);
    /// Oldest first, the revoked ones too.
    std::vector<StoredKey> keys() { return store.keys(); }
    /// Throws Failure: invalidRequest; notFound if a listed connection does not exist; rateLimited beyond
    /// maxKeys.
    NewKey add(KeyRequest const& request);
    /// Throws Failure: notFound, also if it is revoked already; invalidRequest for the built-in key.
    StoredKey revoke(std::string const& id);

    std::optional<Caller> callerWith(std::string_view key) override;
    bool isCurrent(std::string const& keyId) override;
    bool isCurrent(Caller const& caller) override;
    boost::signals2::connection
    observeRevocations(std::function<void(std::string const& keyId)> const& observer) override;
    /// Looks for other processes' revocations no more, so that the server can end.
    void stop() { watching.cancel(); }

private:
    void assertValid(KeyRequest const& request);
    void readAgainIfChanged();
    void readAgain();
    void noteUse(StoredKey& key);
    std::uint64_t versionOf(std::string const& keyId) const
    {
        return keyId == ApiKey::id ? builtInVersion : 0;
    }
    Task<> watch();

    Store& store;
    AuditLog& audit;
    Clock& clock;
    Executor server;
    std::vector<StoredKey> valid;
    std::uint64_t builtInVersion = 0;
    std::int64_t readAt = 0; ///< Store::foreignChanges() when `valid` was read
    boost::signals2::signal<void(std::string const&)> revoked;
    bool watches = false;
    TaskHandle watching;
};

} // namespace zelvo::service
