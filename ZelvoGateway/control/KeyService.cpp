#include "ZelvoGateway/control/KeyService.h"

#include "ZelvoGateway/base/Dates.h"
#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/Secrets.h"
#include "base/Text.h"

#include <algorithm>

namespace zelvo::service {

namespace {

constexpr std::size_t prefixLength = 11; // "zk_" and 8 of the 64 digits.
constexpr std::size_t maxEndUser = 256;

Failure badKey(std::string message)
{
    return {.code = ErrorCode::invalidRequest, .message = std::move(message)};
}

bool isOneLine(std::string const& text)
{
    return text::isUtf8(text) && text::withoutControlCharacters(text) == text;
}

json::object detailsOf(StoredKey const& key)
{
    return {{"keyId", key.id}, {"name", key.name}, {"apiKeyPrefix", key.prefix}};
}

Reach withDefault(Reach reach)
{
    reach.all = reach.connections.empty() && reach.endUsers.empty();
    return reach;
}

} // namespace

KeyService::KeyService(Store& store, AuditLog& audit, Clock& clock, Executor server)
    : store(store), audit(audit), clock(clock), server(std::move(server))
{
    readAgain();
}

void KeyService::setBuiltIn(ApiKey const& key)
{
    StoredKey const stored{.id = std::string(ApiKey::id),
                           .name = std::string(ApiKey::name),
                           .prefix = key.value().substr(0, prefixLength),
                           .hash = hashOf(key.value()),
                           .reach = {.all = true},
                           .createdAt = clock.date()};
    auto const known = std::ranges::find(valid, stored.id, &StoredKey::id);
    bool const isReplaced = known != valid.end() && !sameHash(known->hash, stored.hash);
    if (isReplaced) // First: if it fails, the next call finds the old key again and repeats it.
        store.cancelCommandsOfKey(stored.id, stored.createdAt);
    store.saveKey(stored);
    readAgain();
    if (!isReplaced)
        return;
    ++builtInVersion;
    revoked(stored.id);
    audit.add(Caller::console(), {.type = "key.replaced", .details = detailsOf(stored)});
}

void KeyService::assertValid(KeyRequest const& request)
{
    if (request.name.empty() || request.name.size() > maxName || !isOneLine(request.name))
        throw badKey("\"name\" must have 1 to 100 bytes without control characters");
    if (request.reach.connections.size() > maxListed || request.reach.endUsers.size() > maxListed)
        throw badKey("A key can list at most 200 connections and 200 end users");
    for (std::string const& endUser : request.reach.endUsers)
        if (endUser.empty() || endUser.size() > maxEndUser || !isOneLine(endUser))
            throw badKey("The id of an end user must have 1 to 256 bytes without control characters");
    for (std::string const& id : request.reach.connections) {
        auto const connection = store.connection(id);
        if (!connection || connection->revokedAt)
            throw Failure{.code = ErrorCode::notFound,
                          .message = "There is no connection \"" + text::shownInLine(id, maxName) + "\""};
    }
}

NewKey KeyService::add(KeyRequest const& request)
{
    assertValid(request);
    readAgainIfChanged();
    if (valid.size() >= maxKeys)
        throw Failure{.code = ErrorCode::rateLimited, .message = "There are too many API keys; revoke some"};
    std::string text = "zk_" + newSecret();
    StoredKey stored{.id = newId("key"),
                     .name = request.name,
                     .prefix = text.substr(0, prefixLength),
                     .hash = hashOf(text),
                     .reach = withDefault(request.reach),
                     .createdAt = clock.date()};
    store.saveKey(stored);
    valid.push_back(stored);
    audit.add(Caller::console(), {.type = "key.created", .details = detailsOf(stored)});
    return {.stored = std::move(stored), .text = std::move(text)};
}

StoredKey KeyService::revoke(std::string const& id)
{
    if (id == ApiKey::id)
        throw badKey("The built-in key can't be revoked. To replace it, remove the file \"api-key\" and "
                     "reload the gateway, or start it again");
    Date const now = clock.date();
    auto const all = store.keys();
    auto const found = std::ranges::find(all, id, &StoredKey::id);
    if (found == all.end() || !store.revokeKey(id, now))
        throw Failure{.code = ErrorCode::notFound, .message = "There is no such key, or it is revoked"};
    readAgain();
    audit.add(Caller::console(), {.type = "key.revoked", .details = detailsOf(*found)});
    StoredKey ended = *found;
    ended.revokedAt = now;
    return ended;
}

std::optional<Caller> KeyService::callerWith(std::string_view key)
{
    readAgainIfChanged();
    std::string const hash = hashOf(key);
    StoredKey* found = nullptr;
    for (StoredKey& each : valid) // All of them, so that the time says nothing about the key.
        if (sameHash(each.hash, hash))
            found = &each;
    if (!found)
        return std::nullopt;
    noteUse(*found);
    return Caller{
        .keyId = found->id, .name = found->name, .reach = found->reach, .keyVersion = versionOf(found->id)};
}

bool KeyService::isCurrent(std::string const& keyId)
{
    readAgainIfChanged();
    return keyId.empty() || std::ranges::find(valid, keyId, &StoredKey::id) != valid.end();
}

bool KeyService::isCurrent(Caller const& caller)
{
    return isCurrent(caller.keyId) && caller.keyVersion == versionOf(caller.keyId);
}

void KeyService::noteUse(StoredKey& key)
{
    Date const now = clock.date();
    if (key.lastUsedAt && now - *key.lastUsedAt < usePeriod && now >= *key.lastUsedAt)
        return;
    key.lastUsedAt = now;
    try {
        store.setKeyUsed(key.id, now);
    } catch (StoreError const&) {
        // A full disk is no reason to refuse the request.
    }
}

void KeyService::readAgainIfChanged()
{
    if (store.foreignChanges() != readAt)
        readAgain();
}

void KeyService::readAgain()
{
    readAt = store.foreignChanges(); // First: a change in between is then read twice, and never missed.
    std::vector<StoredKey> now = store.keys();
    std::erase_if(now, [](StoredKey const& key) { return key.revokedAt.has_value(); });
    std::vector<StoredKey> const before = std::exchange(valid, std::move(now));
    for (StoredKey const& key : before)
        if (std::ranges::find(valid, key.id, &StoredKey::id) == valid.end())
            revoked(key.id);
}

boost::signals2::connection
KeyService::observeRevocations(std::function<void(std::string const& keyId)> const& observer)
{
    auto connection = revoked.connect(observer);
    if (!std::exchange(watches, true))
        watching = spawn(server, [this] { return watch(); });
    return connection;
}

/// Looks for what other processes have revoked, while anybody observes.
Task<> KeyService::watch()
{
    while (!revoked.empty()) {
        co_await clock.sleep(watchPeriod);
        readAgainIfChanged();
    }
    watches = false;
}

} // namespace zelvo::service
