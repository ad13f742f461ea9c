#include "platform/linux/system/SecretServiceCalls.h"

#include "platform/linux/system/XdgFolders.h"

#include <libsecret/secret.h>

#include <cstdlib>
#include <memory>
#include <vector>

namespace zelvo {

namespace {

struct Unref {
    void operator()(void* object) const { g_object_unref(object); }
};
template <class T>
using GRef = std::unique_ptr<T, Unref>;

/// Receives a GLib call's error. Its text is never used: it could contain what was sent to a service.
class Failure {
public:
    Failure() = default;
    Failure(Failure const&) = delete;
    Failure& operator=(Failure const&) = delete;
    ~Failure() { g_clear_error(&error); }
    GError** out()
    {
        g_clear_error(&error);
        return &error;
    }

private:
    GError* error = nullptr;
};

SecretSchema const& schema()
{
    static SecretSchema const itself = [] {
        SecretSchema made{};
        made.name = "dev.zelvo.agent";
        made.flags =
            SECRET_SCHEMA_DONT_MATCH_NAME; // An item that a person stored with another tool counts too.
        made.attributes[0] = {"service", SECRET_SCHEMA_ATTRIBUTE_STRING};
        made.attributes[1] = {"account", SECRET_SCHEMA_ATTRIBUTE_STRING};
        return made;
    }();
    return itself;
}

using Attributes = std::unique_ptr<GHashTable, decltype(&g_hash_table_unref)>;

Attributes attributesOf(SecretName const& name)
{
    return {secret_attributes_build(&schema(), "service", name.service.c_str(), "account",
                                    name.account.c_str(), nullptr),
            &g_hash_table_unref};
}

/// Without an address GLib would start a new bus.
bool hasSessionBus()
{
    char const* const address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    if (address && *address)
        return std::string_view(address).find("autolaunch:") == std::string_view::npos;
    std::error_code error;
    auto const runtime = xdg::runtimeFolder();
    return runtime && std::filesystem::is_socket(*runtime / "bus", error);
}

/// A main context for one conversation, so that no other loop receives its events.
class OwnMainContext {
public:
    OwnMainContext() : context(g_main_context_new()) { g_main_context_push_thread_default(context); }
    OwnMainContext(OwnMainContext const&) = delete;
    OwnMainContext& operator=(OwnMainContext const&) = delete;
    ~OwnMainContext()
    {
        while (g_main_context_iteration(context, FALSE)) // Releases what pending events hold.
            ;
        g_main_context_pop_thread_default(context);
        g_main_context_unref(context);
    }

private:
    GMainContext* context;
};

/// One conversation with the service, limited by its patience.
class Conversation {
public:
    Conversation(Executor const& agent, Clock& clock)
        : end(g_cancellable_new()), deadline(spawn(agent, [&clock, kept = shared(end.get())]() -> Task<> {
              co_await clock.sleep(SecretServiceCalls::patience);
              g_cancellable_cancel(kept.get());
          }))
    {
        if (!hasSessionBus())
            return;
        bus.reset(g_bus_get_sync(G_BUS_TYPE_SESSION, end.get(), failure.out()));
        if (!bus)
            return;
        g_dbus_connection_set_exit_on_close(bus.get(),
                                            FALSE); // Otherwise the process would exit with the bus.
        service.reset(secret_service_open_sync(SECRET_TYPE_SERVICE, nullptr, SECRET_SERVICE_NONE, end.get(),
                                               failure.out()));
    }
    Conversation(Conversation const&) = delete;
    Conversation& operator=(Conversation const&) = delete;
    ~Conversation() { deadline.cancel(); }

    explicit operator bool() const { return service != nullptr; }

    /// All items of that name, including locked ones; `nullopt` without an answer.
    std::optional<std::vector<GRef<SecretItem>>> items(SecretName const& name, bool withSecrets)
    {
        auto const flags = static_cast<SecretSearchFlags>(SECRET_SEARCH_ALL |
                                                          (withSecrets ? SECRET_SEARCH_LOAD_SECRETS : 0));
        bool failed = false;
        GList* const found = searched(name, flags, failed);
        std::vector<GRef<SecretItem>> all;
        for (GList* entry = found; entry; entry = entry->next)
            all.emplace_back(SECRET_ITEM(entry->data));
        g_list_free(found);
        if (failed)
            return std::nullopt;
        return all;
    }

    bool change(SecretItem* item, SecretValue* value)
    {
        return secret_item_set_secret_sync(item, value, end.get(), failure.out());
    }

    bool erase(SecretItem* item) { return secret_item_delete_sync(item, end.get(), failure.out()); }

    bool create(SecretName const& name, SecretValue* value)
    {
        GRef<SecretCollection> const collection(secret_collection_for_alias_sync(
            service.get(), SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, end.get(), failure.out()));
        if (!collection || secret_collection_get_locked(collection.get()))
            return false; // Creating or unlocking one would show a prompt.
        GRef<SecretItem> const made(
            secret_item_create_sync(collection.get(), &schema(), attributesOf(name).get(), "Zelvo", value,
                                    SECRET_ITEM_CREATE_REPLACE, end.get(), failure.out()));
        return made != nullptr;
    }

private:
    static std::shared_ptr<GCancellable> shared(GCancellable* raw)
    {
        return {static_cast<GCancellable*>(g_object_ref(raw)), Unref()};
    }

    GList* searched(SecretName const& name, SecretSearchFlags flags, bool& failed)
    {
        GError* error = nullptr;
        GList* const found = secret_service_search_sync(service.get(), &schema(), attributesOf(name).get(),
                                                        flags, end.get(), &error);
        failed = error != nullptr;
        g_clear_error(&error);
        return found;
    }

    OwnMainContext context;
    Failure failure;
    GRef<GCancellable> end;
    TaskHandle deadline;
    GRef<GDBusConnection> bus;
    GRef<SecretService> service;
};

using ValuePtr =
    std::unique_ptr<SecretValue, decltype([](SecretValue* value) { secret_value_unref(value); })>;

ValuePtr valueOf(std::string const& secret)
{
    return ValuePtr(secret_value_new(secret.data(), static_cast<gssize>(secret.size()), "text/plain"));
}

} // namespace

SecretServiceCalls::Found SecretServiceCalls::get(SecretName const& name)
{
    Conversation talk(agent, clock);
    auto const items = talk ? talk.items(name, true) : std::nullopt;
    if (!items)
        return {};
    bool isLocked = false;
    for (auto const& item : *items) {
        ValuePtr const value(secret_item_get_secret(item.get()));
        if (!value) {
            isLocked = true;
            continue;
        }
        gsize length = 0;
        char const* const text = secret_value_get(value.get(), &length);
        return {.answered = true, .secret = std::string(text, length)};
    }
    return {.answered = !isLocked, .secret = std::nullopt};
}

bool SecretServiceCalls::set(SecretName const& name, std::string const& secret)
{
    Conversation talk(agent, clock);
    auto const items = talk ? talk.items(name, false) : std::nullopt;
    if (!items)
        return false;
    ValuePtr const value = valueOf(secret);
    bool isHeld = false;
    for (auto const& item : *items) {
        if (secret_item_get_locked(item.get()))
            return false; // The old secret would come back once it is unlocked.
        if (isHeld)
            talk.erase(item.get());
        else
            isHeld = talk.change(item.get(), value.get());
    }
    return isHeld || (items->empty() && talk.create(name, value.get()));
}

bool SecretServiceCalls::remove(SecretName const& name)
{
    Conversation talk(agent, clock);
    auto const items = talk ? talk.items(name, false) : std::nullopt;
    if (!items)
        return false;
    bool isGone = true;
    for (auto const& item : *items)
        isGone = !secret_item_get_locked(item.get()) && talk.erase(item.get()) && isGone;
    return isGone;
}

} // namespace zelvo
