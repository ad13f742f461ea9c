#pragma once

#include "ZelvoGateway/audit/AuditLog.h"
#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/store/Store.h"
#include "wire/records/ServiceLists.h"

#include <optional>
#include <string>
#include <vector>

namespace zelvo::service {

/// What an agent sends to resolve a link.
struct LinkResolution {
    std::string code;
    std::string appVersion = {};
    std::optional<std::string> machineToken = {}; ///< of an earlier link
};

/// What a person is asked to agree to.
struct LinkOffer {
    std::vector<AgentScope> scopes; ///< that the platform asks for
    MachineWithToken machine;       ///< an empty token means that the agent's own is still valid
};

/// What an agent sends once the person has agreed.
struct LinkCompletion {
    std::string code;
    std::string machineToken;
    std::vector<AgentScope> grantedScopes;
};

/// The record of a link session at this date.
records::LinkSessionState linkSessionRecord(StoredLinkSession const& session, Date now);

/// Joins machines to this platform: a platform creates a link session, its one-time code reaches a person as
/// a link, the person's agent resolves the code and, if the person agrees, completes it.
/// Thread: the server's. Errors: Failure.
class LinkService {
public:
    LinkService(Store& store, AuditLog& audit, Settings const& settings)
        : store(store), audit(audit), settings(settings)
    {
    }

    /// A caller that does not reach an end user finds nothing of theirs. Making something for them throws
    /// Failure: forbidden.
    /// Adds an end user, or updates the one with the same external id.
    records::EndUser addEndUser(Caller const& caller, records::CreateEndUserRequest const& request);
    Page<records::EndUser> endUsers(Caller const& caller, PageQuery query);
    records::EndUser endUser(Caller const& caller, std::string const& id);
    /// address   where people reach this gateway; the link's page is there
    records::LinkSession createSession(Caller const& caller,
                                       records::CreateLinkSessionRequest const& request,
                                       std::string const& address);
    /// Sessions are kept for a day after they expire.
    Page<StoredLinkSession> sessions(Caller const& caller, PageQuery query);
    StoredLinkSession session(Caller const& caller, std::string const& id);
    /// For whoever has the code. Says what became of a session, also after it was completed.
    StoredLinkSession sessionOfCode(std::string const& code);
    /// Can be repeated until the link is completed.
    LinkOffer resolve(LinkResolution const& resolution);
    /// Returns the id of the new connection. Works once for each link.
    std::string complete(LinkCompletion const& completion);

    /// A machine without a person, and its connection with all scopes.
    struct Provisioned {
        MachineWithToken machine;
        std::string connectionId;
    };
    Provisioned provision(Caller const& caller, std::string const& endUserId);

private:
    StoredLinkSession openSession(std::string const& code);
    void assertNotOfOtherUser(std::string const& machineId, StoredLinkSession const& session);
    MachineWithToken machineFor(StoredLinkSession const& session,
                                std::optional<std::string> const& machineToken);

    Store& store;
    AuditLog& audit;
    Settings const& settings;
};

} // namespace zelvo::service
