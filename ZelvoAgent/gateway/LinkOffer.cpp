#include "gateway/LinkOffer.h"

#include "base/LocalizedTexts.h"

namespace zelvo {

LinkOffer LinkOffer::from(json::object const& answer, std::string token)
{
    LinkOffer offer;
    offer.token = std::move(token);
    json::object const nobody;
    json::object const* const named = read::object(answer, "platform");
    json::object const& platform = named ? *named : nobody;
    offer.platformName = read::text(platform, "name").value_or(localized("common.platform"));
    offer.website = read::text(platform, "website");
    offer.verifiedDomain = read::text(platform, "verifiedDomain");
    offer.isPersonal = read::boolean(platform, "isPersonal").value_or(false);
    if (json::array const* const scopes = read::array(answer, "requestedScopes"))
        for (json::value const& text : *scopes)
            if (auto const scope =
                    text.is_string() ? fromRawValue<AgentScope>(text.get_string()) : std::nullopt)
                offer.requestedScopes.push_back(*scope);
    offer.machineId = read::text(answer, "machineId").value_or("");
    return offer;
}

} // namespace zelvo
