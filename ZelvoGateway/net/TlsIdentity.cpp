#include "ZelvoGateway/net/TlsIdentity.h"

#include "base/Hop.h"

#include <chrono>
#include <utility>

namespace zelvo::service {

namespace {

constexpr std::int64_t nearDays = 14;

} // namespace

TlsIdentity::TlsIdentity(TlsFiles wanted, Executor workers, std::function<void(std::string const&)> log)
    : files(std::move(wanted)), workers(std::move(workers)), log(std::move(log)), seen(stampOf(files)),
      present(loadTlsPair(files))
{
}

/// nullopt if nothing has changed.
std::optional<TlsIdentity::Found> TlsIdentity::look(TlsFiles const& files, TlsStamp const& seen)
{
    TlsStamp const stamp = stampOf(files);
    if (stamp == seen)
        return std::nullopt;
    Found found{.stamp = stamp};
    try {
        found.pair = loadTlsPair(files);
    } catch (TlsError const& error) {
        found.problem = error.what();
    }
    return found;
}

Task<std::string> TlsIdentity::refresh(std::function<void(TlsPair const&)> replace)
{
    auto const work = [files = files, seen = seen] { return look(files, seen); };
    std::optional<Found> found = co_await on(workers, work);
    if (!found)
        co_return std::string();
    if (found->pair) {
        replace(*found->pair);
        present = *std::move(found->pair);
        notedDays.reset();
        log("uses the new certificate in " + files.certificate);
    }
    seen = found->stamp; // Of before they were read, so that a change meanwhile is seen next time.
    wrong = found->problem;
    co_return std::move(found->problem);
}

void TlsIdentity::noteExpiry(Date today)
{
    std::int64_t const days = std::chrono::floor<std::chrono::days>(present.expires - today).count();
    if (days >= nearDays || notedDays == days)
        return;
    notedDays = days;
    std::string const when = days < 0    ? "has expired"
                             : days == 0 ? "expires within a day"
                                         : "expires in " + std::to_string(days) + " days";
    log("the certificate in " + files.certificate + " " + when);
}

} // namespace zelvo::service
