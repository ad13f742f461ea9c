#include "ZelvoGateway/recordings/s3/S3Bucket.h"

#include "ZelvoGateway/recordings/RecordingFileName.h"

#include <algorithm>

namespace zelvo::service {

namespace {

constexpr std::size_t maxPage = std::size_t{4} << 20;
constexpr int maxPages = 100'000; // Of a thousand each. A store that never ends a list must not hold us up.

Date nowAt(S3Reply const& reply)
{
    return reply.date.value_or(
        std::chrono::time_point_cast<Date::duration>(std::chrono::system_clock::now()));
}

RecordingFilesError unreadable(std::string const& name)
{
    RecordingFilesError error(name + ": the store's answer can't be understood");
    error.isTemporary = true;
    return error;
}

} // namespace

S3Bucket::S3Bucket(S3Settings const& place, std::string owner, S3Times const& times)
    : cleanup(place, times), client(place, times), wantedOwner(std::move(owner))
{
}

void S3Bucket::claim()
{
    {
        std::scoped_lock const guard(lock);
        if (isClaimed)
            return;
    }
    claimAgain();
}

void S3Bucket::claimAgain()
{
    std::string found = owner();
    if (found.empty()) {
        assertNoRecordings();
        mark();
        found = owner(); // Another gateway may have been faster.
    }
    if (found != wantedOwner)
        throw RecordingFilesError(name() + " belongs to another gateway: " + markKey() + " names " + found +
                                  ". Choose another s3-prefix or s3-bucket. If that gateway is gone for good "
                                  "and its recordings may go, too, remove that object");
    std::scoped_lock const guard(lock);
    isClaimed = true;
}

/// The id in the mark; empty if there is no mark.
std::string S3Bucket::owner()
{
    S3Reply const reply = client.perform({.key = markKey(), .maxAnswer = 64 << 10});
    if (reply.status == 404)
        return {};
    if (reply.length != reply.body.size())
        throw unreadable(name());
    std::string text = reply.body.substr(0, reply.body.find('\n'));
    bool const isId =
        text.starts_with("gwy_") && text.size() <= 80 && std::ranges::all_of(text, [](char sign) {
            return (sign >= 'a' && sign <= 'z') || (sign >= '0' && sign <= '9') || sign == '_';
        });
    return reply.status == 200 && isId ? text : "something else";
}

/// Not every store knows "If-None-Match" for writing; owner() decides in any case.
void S3Bucket::mark()
{
    std::string const text =
        wantedOwner + "\n\nRecordings below this prefix belong to the gateway of this id.\n";
    S3Request request{.method = "PUT",
                      .key = markKey(),
                      .headers = {"Content-Type: text/plain", "If-None-Match: *"},
                      .body = text};
    if (client.perform(request).status != 501)
        return;
    request.headers.pop_back();
    client.perform(request);
}

/// Recordings without a mark are somebody's whose mark is lost. Who it was must be decided by a person.
void S3Bucket::assertNoRecordings()
{
    forEachObject([this](S3Object const& object, Date) {
        if (recordingOf(object.key))
            throw RecordingFilesError(name() + " holds recordings, but not the object " + markKey() +
                                      " that says whose they are. Choose another s3-prefix, or write the "
                                      "line " +
                                      wantedOwner + " to that object if they are this gateway's");
    });
}

std::string S3Bucket::keyOf(std::string const& id) const
{
    return settings().prefix + recordingFileName(id);
}

std::optional<std::string> S3Bucket::recordingOf(std::string_view key) const
{
    if (!key.starts_with(settings().prefix))
        return std::nullopt;
    return recordingOfFile(key.substr(settings().prefix.size()));
}

S3ObjectPage S3Bucket::objectPage(std::string const& token, Date& now)
{
    S3Request request{.query = {{"encoding-type", "url"}, {"list-type", "2"}, {"prefix", settings().prefix}},
                      .maxAnswer = maxPage};
    if (!token.empty())
        request.query["continuation-token"] = token;
    S3Reply const reply = client.perform(request);
    auto page = S3ObjectPage::parse(reply.body);
    if (reply.status != 200 || !page || (!token.empty() && page->next == token))
        throw unreadable(name());
    now = nowAt(reply);
    return *std::move(page);
}

void S3Bucket::forEachObject(std::function<void(S3Object const&, Date)> const& take)
{
    std::string token;
    for (int count = 0; count < maxPages; ++count) {
        Date now;
        S3ObjectPage const page = objectPage(token, now);
        for (S3Object const& object : page.objects)
            take(object, now);
        if (page.next.empty())
            return;
        token = page.next;
    }
    throw unreadable(name());
}

void S3Bucket::forEachUpload(std::function<void(S3Upload const&, Date)> const& take)
{
    S3Request request{.query = {{"encoding-type", "url"}, {"prefix", settings().prefix}, {"uploads", ""}},
                      .maxAnswer = maxPage};
    for (int count = 0; count < maxPages; ++count) {
        S3Reply const reply = client.perform(request);
        auto const page = S3UploadPage::parse(reply.body);
        if (reply.status != 200 || !page ||
            (request.query.contains("key-marker") && request.query["key-marker"] == page->nextKey &&
             request.query["upload-id-marker"] == page->nextId))
            throw unreadable(name());
        for (S3Upload const& upload : page->uploads)
            take(upload, nowAt(reply));
        if (page->nextKey.empty())
            return;
        request.query["key-marker"] = page->nextKey;
        request.query["upload-id-marker"] = page->nextId;
    }
    throw unreadable(name());
}

void S3Bucket::remove(std::string const& key, std::string const& uploadId)
{
    S3Request request{.method = "DELETE", .key = key};
    if (!uploadId.empty())
        request.query = {{"uploadId", uploadId}};
    S3Reply const reply = client.perform(request);
    if (reply.status >= 300 && reply.status != 404)
        throw RecordingFilesError(name() + ": the store does not remove a recording (status " +
                                  std::to_string(reply.status) + ")");
}

} // namespace zelvo::service
