#include "ZelvoGateway/api/IdempotentRoutes.h"

#include "ZelvoGateway/base/Dates.h"
#include "ZelvoGateway/base/Log.h"
#include "ZelvoGateway/base/SealedText.h"
#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/http/HttpError.h"
#include "base/Hop.h"
#include "wire/records/ServiceMachines.h"

#include <algorithm>

namespace zelvo::service {

namespace {

constexpr char const* header = "idempotency-key";
constexpr std::size_t maxKey = 255;
constexpr std::size_t shortBody = 64_KiB; // Hashing it delays nobody.
constexpr std::size_t trimShare = 20;     // A twentieth more than the bound is trimmed at once.

HttpError conflict(int status, std::string message)
{
    return {.status = status, .code = ErrorCode::invalidRequest, .message = std::move(message)};
}

HttpError otherRequest()
{
    return conflict(422, "This Idempotency-Key was used for another request, or with another credential");
}

/// Whether the answer must be kept: the request had, or may have had, an effect. The gateway's own failures
/// and those of a machine that got a frame leave that open, unless it says that it did nothing.
bool mayHaveActed(HttpError const& error)
{
    return error.status == 500 || (!error.requestId.empty() && !error.wasNotStarted);
}

/// The error of a kept answer. Whoever writes it adds the headers that go with it.
HttpError repeatedError(int status, std::string const& body)
{
    auto const kept = records::fromText<records::APIError>(body);
    if (!kept)
        return {.status = status, .message = "The first request failed", .isReplayed = true};
    return {.status = status,
            .code = kept->error.code,
            .message = kept->error.message,
            .details = kept->error.details,
            .requestId = kept->error.requestId,
            .isReplayed = true};
}

} // namespace

std::optional<std::string> idempotencyKeyIn(HttpRequest const& request)
{
    auto const [first, last] = request.headers.equal_range(header);
    if (first == last)
        return std::nullopt;
    std::string const& key = first->second;
    bool const printable = std::ranges::all_of(key, [](char sign) { return sign > ' ' && sign <= '~'; });
    if (std::next(first) != last || key.empty() || key.size() > maxKey || !printable)
        throw badRequest("\"Idempotency-Key\" must be one text of 1 to 255 printable ASCII characters");
    return key;
}

std::vector<Route> IdempotentRoutes::over(std::vector<Route> routes)
{
    for (Route& route : routes) {
        if (route.method != "POST" || !route.answer)
            continue;
        if (route.operation) {
            Operation operation = *route.operation;
            operation.mayRepeat = true;
            route.operation = std::make_shared<Operation const>(std::move(operation));
        }
        auto const inner = std::make_shared<Answer const>(std::move(route.answer));
        route.answer = [this, inner](HttpRequest request, PathIds ids) {
            return answerOnce(inner.get(), std::move(request), std::move(ids));
        };
    }
    return routes;
}

/// With the secret, so that nobody who has the file can find a short body by trying.
Task<std::string> IdempotentRoutes::requestHash(HttpRequest const* request, std::string const* secret)
{
    std::string head = request->method;
    for (std::string const& part : request->path)
        head += "/" + hashOf(part); // A part may hold a slash.
    auto const hash = [&] { return signatureOf(head + "\n" + hashOf(request->body), *secret); };
    if (request->body.size() <= shortBody)
        co_return hash();
    co_return co_await on(workers, hash);
}

Task<HttpResponse> IdempotentRoutes::answerOnce(Answer const* inner, HttpRequest request, PathIds ids)
{
    auto const key = idempotencyKeyIn(request);
    if (!key)
        co_return co_await (*inner)(std::move(request), std::move(ids));
    std::string secret = AccessControl::credentialOf(request) + "\n" + *key;
    std::string const hash = co_await requestHash(&request, &secret);
    Date const now = clock.date();
    StoredAnswer begun{.caller = access.callerOf(request).keyId,
                       .keyHash = hashOf("idempotency key " + *key),
                       .requestHash = hash,
                       .createdAt = now};
    assertNotRunning(begun);
    dropUnused();
    if (auto const earlier = store.beginAnswer(begun, now - dateSpan(rules.kept)))
        co_return known(begun, *earlier, secret);
    co_return co_await run(inner, std::move(request), std::move(ids), std::move(begun), std::move(secret));
}

void IdempotentRoutes::assertNotRunning(StoredAnswer const& begun) const
{
    auto const first = running->find({begun.caller, begun.keyHash});
    if (first == running->end())
        return;
    if (first->second != begun.requestHash)
        throw otherRequest();
    throw conflict(409, "The first request with this Idempotency-Key is still running");
}

/// The answer to a request that came before.
HttpResponse
IdempotentRoutes::known(StoredAnswer const& begun, StoredAnswer const& earlier, std::string const& secret)
{
    if (earlier.requestHash != begun.requestHash)
        throw otherRequest();
    if (!earlier.status)
        throw HttpError{.status = 500,
                        .code = ErrorCode::internalError,
                        .message = "The gateway stopped while the first request with this Idempotency-Key "
                                   "ran. Whether it was carried out is not known"};
    auto body = earlier.sealed ? unsealed(*earlier.sealed, secret) : std::nullopt;
    if (!body)
        throw conflict(409, "This request was carried out, with status " + std::to_string(*earlier.status) +
                                ", but its answer was not kept");
    if (*earlier.status >= 400)
        throw repeatedError(*earlier.status, *body);
    HttpResponse response{.status = *earlier.status, .body = *std::move(body)};
    response.headers.emplace_back(replayHeader, "true");
    return response;
}

Task<HttpResponse> IdempotentRoutes::run(
    Answer const* inner, HttpRequest request, PathIds ids, StoredAnswer begun, std::string secret)
{
    Use const one{begun.caller, begun.keyHash};
    running->emplace(one, begun.requestHash);
    std::shared_ptr<void> const guard(nullptr, [one, all = running](void*) { all->erase(one); });
    std::optional<HttpError> refusal;
    HttpResponse response;
    try {
        response = co_await (*inner)(std::move(request), std::move(ids));
    } catch (HttpError const& error) {
        refusal = error;
    } catch (std::exception const& error) {
        refusal = internalError(error);
    }
    if (!refusal) {
        keep(std::move(begun), response, secret);
        co_return response;
    }
    if (mayHaveActed(*refusal)) {
        if (refusal->requestId.empty())
            refusal->requestId = newId("req");
        keep(std::move(begun), errorResponse(*refusal), secret);
    } else {
        drop(one);
    }
    throw *std::move(refusal);
}

/// A failure of the store must not take the answer from its caller. The request then counts as interrupted.
void IdempotentRoutes::keep(StoredAnswer answer, HttpResponse const& response, std::string const& secret)
{
    answer.status = response.status;
    try {
        if (response.body.size() <= rules.maxBytes)
            answer.sealed = sealed(response.body, secret);
        store.endAnswer(answer);
        if (++keptSinceTrim * trimShare > rules.maxAnswers)
            runMaintenance();
    } catch (std::exception const& error) {
        Log::error(std::string("an answer was not kept: ") + error.what());
    }
}

/// Nor must it take a refusal from its caller.
void IdempotentRoutes::drop(Use const& use)
{
    unused.push_back(use);
    try {
        dropUnused();
    } catch (StoreError const& error) { // The next request with a key tries again.
        Log::warning(std::string("an idempotency key is not free yet: ") + error.what());
    }
}

void IdempotentRoutes::dropUnused()
{
    while (!unused.empty()) {
        store.dropAnswer(unused.back().first, unused.back().second);
        unused.pop_back();
    }
}

void IdempotentRoutes::runMaintenance()
{
    keptSinceTrim = 0;
    store.trimAnswers(clock.date() - dateSpan(rules.kept), rules.maxAnswers);
}

} // namespace zelvo::service
