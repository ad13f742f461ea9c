#include "ZelvoGateway/Administration.h"
#include "ZelvoGateway/base/DataFolder.h"
#include "ZelvoGateway/base/ServerClock.h"
#include "ZelvoGateway/control/KeyService.h"
#include "ZelvoGateway/store/OpenStore.h"
#include "base/DateText.h"

#include <boost/asio/io_context.hpp>

#include <ostream>

namespace zelvo::service {

namespace {

std::string dateText(std::optional<Date> const& date)
{
    return date ? dates::iso8601(*date) : "-";
}

std::string reachText(Reach const& reach)
{
    if (reach.all)
        return "all";
    std::string text;
    for (std::string const& id : reach.connections)
        text += (text.empty() ? "" : ", ") + id;
    for (std::string const& endUser : reach.endUsers)
        text += (text.empty() ? "" : ", ") + std::string("end user ") + endUser;
    return text;
}

void list(KeyService& keys, std::ostream& out)
{
    out << "id\tbegins with\tname\treaches\tcreated\tlast used\trevoked\n";
    for (StoredKey const& key : keys.keys())
        out << key.id << '\t' << key.prefix << '\t' << key.name << '\t' << reachText(key.reach) << '\t'
            << dateText(key.createdAt) << '\t' << dateText(key.lastUsedAt) << '\t' << dateText(key.revokedAt)
            << '\n';
}

void add(KeyService& keys, Flags const& flags, std::ostream& out)
{
    NewKey const made =
        keys.add({.name = flags.keyName,
                  .reach = {.connections = {flags.connections.begin(), flags.connections.end()},
                            .endUsers = {flags.endUsers.begin(), flags.endUsers.end()}}});
    out << "id " << made.stored.id << "\n";
    if (flags.keyFile.empty())
        out << "key " << made.text << "\n";
    else
        writePrivateFile(flags.keyFile, made.text + "\n");
}

} // namespace

void manageKeys(Flags const& flags, std::ostream& out)
{
    DataFolder folder(flags.settings.dataFolder);
    SqliteStore store = openStore(folder);
    asio::io_context io;
    ServerClock clock(io.get_executor());
    AuditLog audit(store, clock, flags.settings.audit, io.get_executor());
    KeyService keys(store, audit, clock, io.get_executor());
    switch (flags.keyAction) {
    case Flags::KeyAction::add:
        add(keys, flags, out);
        break;
    case Flags::KeyAction::revoke:
        keys.revoke(flags.keyId);
        out << "revoked " << flags.keyId << "\n";
        break;
    case Flags::KeyAction::list:
    case Flags::KeyAction::none:
        list(keys, out);
        break;
    }
    audit.flush();
}

} // namespace zelvo::service
