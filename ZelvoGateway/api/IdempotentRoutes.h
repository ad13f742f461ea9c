#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/http/AccessControl.h"
#include "ZelvoGateway/http/Routes.h"
#include "ZelvoGateway/store/Store.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zelvo::service {

/// The header "Idempotency-Key": nullopt without one. Throws HttpError unless it is one text of 1 to 255
/// printable ASCII characters.
std::optional<std::string> idempotencyKeyIn(HttpRequest const& request);

/// Lets callers repeat what creates or acts: a POST that comes again with the same "Idempotency-Key" from the
/// same caller is not carried out again, but gets the first answer. A request that is refused before anything
/// was done for it leaves its key unused. The store has the answers encrypted, for they may hold secrets:
/// with the caller's credential and the idempotency key, which it has as hashes only. Thread: the server's;
/// large bodies are hashed on the workers. Errors: HttpError.
class IdempotentRoutes {
public:
    IdempotentRoutes(
        AccessControl const& access, Store& store, AnswerRules const& rules, Clock& clock, Executor workers)
        : access(access), store(store), rules(rules), clock(clock), workers(std::move(workers))
    {
    }

    /// The same routes; those that are a POST take the header.
    std::vector<Route> over(std::vector<Route> routes);
    /// Once a minute: forgets old answers.
    void runMaintenance();

private:
    using Answer = std::function<Task<HttpResponse>(HttpRequest request, PathIds ids)>;
    using Use = std::pair<std::string, std::string>; ///< caller, hash of the key

    Task<HttpResponse> answerOnce(Answer const* inner, HttpRequest request, PathIds ids);
    Task<HttpResponse>
    run(Answer const* inner, HttpRequest request, PathIds ids, StoredAnswer begun, std::string secret);
    Task<std::string> requestHash(HttpRequest const* request, std::string const* secret);
    void assertNotRunning(StoredAnswer const& begun) const;
    HttpResponse known(StoredAnswer const& begun, StoredAnswer const& earlier, std::string const& secret);
    void keep(StoredAnswer answer, HttpResponse const& response, std::string const& secret);
    void drop(Use const& use);
    void dropUnused();

    AccessControl const& access;
    Store& store;
    AnswerRules const& rules;
    Clock& clock;
    Executor workers;
    // Hashes of the requests. Shared with the tasks, which may outlive this.
    std::shared_ptr<std::map<Use, std::string>> running = std::make_shared<std::map<Use, std::string>>();
    std::vector<Use> unused; ///< keys that the store still has as running
    std::size_t keptSinceTrim = 0;
};

} // namespace zelvo::service
