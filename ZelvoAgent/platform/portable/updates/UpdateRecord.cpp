#include "platform/portable/updates/UpdateRecord.h"

#include "platform/portable/files/Files.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include <fcntl.h>
#include <sys/file.h>

#include <algorithm>
#include <cstddef>

namespace zelvo {

namespace {

namespace json = boost::json;

constexpr char const* recordName = "update.json";
constexpr std::size_t maxRecordBytes = std::size_t{64} << 10;

std::string textIn(json::object const& object, std::string_view key)
{
    json::value const* const value = object.if_contains(key);
    return value && value->is_string() ? std::string(value->get_string()) : std::string();
}

std::int64_t numberIn(json::object const& object, std::string_view key)
{
    json::value const* const value = object.if_contains(key);
    return value && value->is_int64() ? value->get_int64() : 0;
}

std::optional<UpdateTrial> trialIn(json::object const& object)
{
    json::value const* const value = object.if_contains("trial");
    if (!value || !value->is_object())
        return std::nullopt;
    json::object const& trial = value->get_object();
    return UpdateTrial{.program = textIn(trial, "program"),
                       .from = textIn(trial, "from"),
                       .to = textIn(trial, "to"),
                       .starts =
                           static_cast<int>(std::clamp<std::int64_t>(numberIn(trial, "starts"), 0, 100))};
}

} // namespace

UpdateRecord parseUpdateRecord(std::string_view text)
{
    boost::system::error_code error;
    json::value const value = json::parse(text, error);
    if (error || !value.is_object())
        return {};
    json::object const& object = value.get_object();
    return {.newest = textIn(object, "newest"),
            .rejected = textIn(object, "rejected"),
            .notInstalled = textIn(object, "notInstalled"),
            .lastCheck = numberIn(object, "lastCheck"),
            .trial = trialIn(object)};
}

std::string writeUpdateRecord(UpdateRecord const& record)
{
    json::object object{{"newest", record.newest},
                        {"rejected", record.rejected},
                        {"notInstalled", record.notInstalled},
                        {"lastCheck", record.lastCheck}};
    if (record.trial)
        object["trial"] = {{"program", record.trial->program},
                           {"from", record.trial->from},
                           {"to", record.trial->to},
                           {"starts", record.trial->starts}};
    return json::serialize(object);
}

UpdateRecord UpdateRecords::read() const
{
    auto const found = files::read(path / recordName, maxRecordBytes);
    return found ? parseUpdateRecord(found->content) : UpdateRecord();
}

/// Waits for other processes, for a moment: a change is a small file.
UniqueFd UpdateRecords::lockOut() const
{
    if (!files::makePrivateFolder(path))
        return {};
    UniqueFd held(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (held)
        ::flock(held.get(), LOCK_EX);
    return held;
}

bool UpdateRecords::change(std::function<void(UpdateRecord&)> const& changing)
{
    std::scoped_lock const guard(lock);
    UniqueFd const others = lockOut();
    UpdateRecord const before = read();
    UpdateRecord after = before;
    changing(after);
    if (after == before)
        return true;
    if (!files::makePrivateFolder(path) || !files::replace(path / recordName, writeUpdateRecord(after)))
        return false;
    files::syncFolder(path);
    return true;
}

} // namespace zelvo
