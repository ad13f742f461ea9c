#include "ZelvoGateway/base/SettingsChange.h"

#include "ZelvoGateway/base/FlagTable.h"

namespace zelvo::service {

namespace {

std::string listOf(std::vector<std::string> const& names)
{
    std::string text;
    for (std::string const& name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

std::vector<std::string> valuesOf(GivenValues const& given, std::string_view name)
{
    auto const found = given.find(name);
    return found == given.end() ? std::vector<std::string>() : found->second;
}

} // namespace

std::string SettingsChange::text() const
{
    std::string text;
    if (!taken.empty())
        text = listOf(taken) + " changed";
    if (!kept.empty())
        text += (text.empty() ? "" : "; ") + listOf(kept) + " changes with the next start";
    return text;
}

SettingsChange changeBetween(GivenValues const& running, GivenValues const& next)
{
    SettingsChange change;
    for (Flag const& flag : allFlags()) {
        if (flag.kind == Flag::Kind::argument ||
            valuesOf(running, flag.settingName()) == valuesOf(next, flag.settingName()))
            continue;
        auto& names = flag.kind == Flag::Kind::reloadable ? change.taken : change.kept;
        names.emplace_back(flag.settingName());
    }
    return change;
}

GivenValues takenFrom(GivenValues running, GivenValues const& next)
{
    for (std::string const& name : changeBetween(running, next).taken) {
        running.erase(name);
        if (auto const found = next.find(name); found != next.end())
            running.insert(*found);
    }
    return running;
}

} // namespace zelvo::service
