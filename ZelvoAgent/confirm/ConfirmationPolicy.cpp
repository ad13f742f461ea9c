#include "confirm/ConfirmationPolicy.h"

#include "base/Text.h"

#include <boost/url/parse.hpp>

namespace zelvo {

namespace {

/// Reads the keys of a stored policy and records whether one had the wrong type.
class StoredPolicy {
public:
    explicit StoredPolicy(json::object const& stored) : stored(stored) {}

    std::optional<bool> boolean(std::string_view key)
    {
        json::value const* const value = stored.if_contains(key);
        if (!value || value->is_null())
            return std::nullopt;
        if (!value->is_bool()) {
            broken = true;
            return std::nullopt;
        }
        return value->get_bool();
    }

    std::optional<std::int64_t> integer(std::string_view key)
    {
        json::value const* const value = stored.if_contains(key);
        if (!value || value->is_null())
            return std::nullopt;
        if (!value->is_int64()) {
            broken = true;
            return std::nullopt;
        }
        return value->get_int64();
    }

    /// A switch that was renamed; the old name counts only if the new one is absent.
    bool renamed(std::string_view key, std::string_view formerKey)
    {
        if (auto const value = boolean(key))
            return *value;
        return boolean(formerKey).value_or(true);
    }

    bool broken = false;

private:
    json::object const& stored;
};

bool opensOutsideTheWeb(std::string const& url)
{
    auto const parsed = boost::urls::parse_uri_reference(url);
    if (!parsed || !parsed->has_scheme())
        return true;
    std::string const scheme = text::lowercased(std::string_view(parsed->scheme()));
    return scheme != "http" && scheme != "https";
}

struct Rule {
    ConfirmationPolicy const& policy;

    bool operator()(ConfirmationSubject::ShellCommand const&) const { return policy.confirmShell; }
    bool operator()(ConfirmationSubject::FileDelete const&) const { return policy.confirmFileDelete; }
    bool operator()(ConfirmationSubject::FileWrite const&) const { return policy.confirmFileWrite; }
    bool operator()(ConfirmationSubject::OpenUrl const& subject) const
    {
        return policy.confirmNonHttpUrl && opensOutsideTheWeb(subject.url);
    }
    bool operator()(ConfirmationSubject::SubmitButton const&) const { return policy.confirmDangerousActions; }
    bool operator()(ConfirmationSubject::DialogButton const&) const { return policy.confirmDialogActions; }
    bool operator()(ConfirmationSubject::KeyShortcut const&) const { return policy.confirmDangerousActions; }
};

} // namespace

bool ConfirmationPolicy::requiresConfirmation(ConfirmationSubject const& subject) const
{
    return std::visit(Rule{*this}, subject.value);
}

json::object ConfirmationPolicy::toJson() const
{
    return {{"confirmShell", confirmShell},
            {"confirmFileDelete", confirmFileDelete},
            {"confirmFileWrite", confirmFileWrite},
            {"confirmNonHttpUrl", confirmNonHttpUrl},
            {"confirmDangerousActions", confirmDangerousActions},
            {"confirmDialogActions", confirmDialogActions},
            {"version", version}};
}

std::optional<ConfirmationPolicy> ConfirmationPolicy::fromJson(json::value const& stored)
{
    json::object const* const object = stored.if_object();
    if (!object)
        return std::nullopt;
    StoredPolicy reader(*object);
    std::int64_t const storedVersion = reader.integer("version").value_or(0);
    ConfirmationPolicy policy;
    policy.confirmShell = reader.boolean("confirmShell").value_or(true);
    policy.confirmFileDelete = reader.boolean("confirmFileDelete").value_or(true);
    policy.confirmFileWrite = reader.boolean("confirmFileWrite").value_or(false);
    policy.confirmNonHttpUrl = reader.boolean("confirmNonHttpUrl").value_or(true);
    policy.confirmDangerousActions = reader.renamed("confirmDangerousActions", "confirmSubmitButtons");
    policy.confirmDialogActions = reader.renamed("confirmDialogActions", "confirmDialogButtons");
    if (reader.broken)
        return std::nullopt;
    if (storedVersion < currentVersion) {
        policy.confirmDangerousActions = true;
        policy.confirmDialogActions = true;
    }
    return policy;
}

} // namespace zelvo
