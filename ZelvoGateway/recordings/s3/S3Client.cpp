#include "ZelvoGateway/recordings/s3/S3Client.h"

#include <algorithm>
#include <array>
#include <random>
#include <utility>

namespace zelvo::service {

namespace {

/// Answers that their caller understands.
constexpr std::array<int, 5> expected{404, 409, 412, 416, 501};

bool isPassing(S3Reply const& reply, S3Error const& error)
{
    constexpr std::array<int, 5> statuses{429, 500, 502, 503, 504};
    constexpr std::array<std::string_view, 3> codes{"RequestTimeout", "SlowDown", "InternalError"};
    return !reply.problem.empty() || std::ranges::find(statuses, reply.status) != statuses.end() ||
           std::ranges::find(codes, error.code) != codes.end();
}

S3Error errorIn(S3Reply const& reply)
{
    if (reply.status < 300)
        return {};
    return S3Error::parse(reply.body).value_or(S3Error());
}

/// A code is shown only if it looks like one, since a store may answer with anything.
std::string shown(std::string const& code)
{
    bool const isName = !code.empty() && code.size() <= 60 && std::ranges::all_of(code, [](char sign) {
        return (sign >= 'a' && sign <= 'z') || (sign >= 'A' && sign <= 'Z') || (sign >= '0' && sign <= '9') ||
               sign == '-' || sign == '.';
    });
    return isName ? code : std::string();
}

} // namespace

S3Reply S3Client::sendOnce(S3Request const& request)
{
    S3Credentials credentials;
    try {
        credentials = S3Credentials::read(place.credentials); // Each time, so a new key needs no restart.
    } catch (std::runtime_error const& error) {
        throw RecordingFilesError(std::string("s3-credentials: ") + error.what());
    }
    S3Message message{.method = request.method,
                      .url = s3Address(place, request.key, request.query),
                      .region = place.region,
                      .headers = request.headers,
                      .range = request.range,
                      .body = request.body,
                      .maxAnswer = request.maxAnswer};
    if (!place.bucketOwner.empty())
        message.headers.push_back("x-amz-expected-bucket-owner: " + place.bucketOwner);
    return transfers.send(message, credentials);
}

S3Reply S3Client::perform(S3Request const& request)
{
    for (int attempt = 1;; ++attempt) {
        S3Reply reply = sendOnce(request);
        if (!isPassing(reply, errorIn(reply)) || attempt >= times.maxAttempts || !waitBefore(attempt)) {
            assertAccepted(reply);
            return reply;
        }
    }
}

S3Reply S3Client::performOnce(S3Request const& request)
{
    S3Reply reply = sendOnce(request);
    assertAccepted(reply);
    return reply;
}

/// Waits longer each time, and not for the same time as other gateways. False once stopped.
bool S3Client::waitBefore(int attempt)
{
    static thread_local std::minstd_rand random{std::random_device{}()};
    auto const longest = times.firstRetry * (1 << std::min(attempt - 1, 10));
    auto const part = std::uniform_real_distribution<double>(0.5, 1.0)(random);
    auto const pause = std::chrono::duration_cast<Duration>(longest * part);
    std::unique_lock guard(lock);
    return !stopped.wait_for(guard, pause, [this] { return isStopped; });
}

void S3Client::stop()
{
    transfers.stop();
    std::scoped_lock const guard(lock);
    isStopped = true;
    stopped.notify_all();
}

void S3Client::assertAccepted(S3Reply const& reply) const
{
    S3Error const error = errorIn(reply);
    bool const isAnswered = reply.problem.empty();
    bool const isKnown = std::ranges::find(expected, reply.status) != expected.end();
    if (isAnswered && ((reply.status >= 200 && reply.status < 300) ||
                       (isKnown && error.code != "NoSuchBucket" && !isPassing(reply, error))))
        return;
    refuse(reply, error);
}

void S3Client::refuse(S3Reply const& reply, S3Error const& error) const
{
    RecordingFilesError failure(name() + ": " + reasonFor(reply, error));
    failure.isTemporary = isPassing(reply, error) || error.code == "RequestTimeTooSkewed";
    throw failure;
}

std::string S3Client::reasonFor(S3Reply const& reply, S3Error const& error) const
{
    if (!reply.problem.empty())
        return "the store does not answer: " + reply.problem;
    std::string const status = " (status " + std::to_string(reply.status) +
                               (shown(error.code).empty() ? "" : ", ") + shown(error.code) + ")";
    std::string const region = shown(reply.region.empty() ? error.region : reply.region);
    bool const isElsewhere = (reply.status >= 300 && reply.status < 400) ||
                             error.code == "AuthorizationHeaderMalformed" ||
                             error.code == "PermanentRedirect";
    if (isElsewhere && !region.empty())
        return "s3-region: the bucket is in " + region + ", not in " + place.region + status;
    if (isElsewhere)
        return "s3-endpoint, s3-region: the store sends us elsewhere" +
               (shown(error.endpoint).empty() ? std::string() : ", to " + shown(error.endpoint)) + status;
    if (error.code == "NoSuchBucket" || reply.status == 404)
        return "s3-bucket: there is no such bucket" + status;
    if (error.code == "RequestTimeTooSkewed")
        return "the clock of this computer differs too much from that of the store" + status;
    if (error.code == "InvalidAccessKeyId" || error.code == "SignatureDoesNotMatch")
        return "s3-credentials: the store does not accept this access key with this secret" + status;
    if (reply.status == 403 && !place.bucketOwner.empty())
        return "s3-credentials, s3-bucket-owner: the access key may not do this, or the bucket belongs to "
               "another account" +
               status;
    if (reply.status == 401 || reply.status == 403)
        return "s3-credentials: the access key may not do this" + status;
    return "the store refuses" + status;
}

} // namespace zelvo::service
