#include "ZelvoGateway/api/CommandBody.h"

#include "ZelvoGateway/http/HttpError.h"
#include "base/Text.h"

#include <algorithm>
#include <array>

namespace zelvo::service {

namespace {

constexpr std::size_t maxMethod = 100;
constexpr std::size_t maxName = 100; // characters

constexpr std::array<std::string_view, 3> deliveryKeys = {"whenUnavailable", "ttlSeconds",
                                                          "confirmationTimeoutMs"};

/// A member; null counts as missing.
json::value* member(json::object& object, std::string_view key)
{
    json::value* const value = object.if_contains(key);
    return value && !value->is_null() ? value : nullptr;
}

std::string methodOf(json::object const& body)
{
    auto const method = read::text(body, "method");
    if (!method || method->empty())
        throw badRequest("\"method\" must be a text");
    if (method->size() > maxMethod)
        throw badRequest("\"method\" must have at most 100 bytes");
    return *method;
}

std::optional<json::object> takeObject(json::object& body, std::string_view key)
{
    json::value* const value = member(body, key);
    if (!value)
        return std::nullopt;
    if (!value->is_object())
        throw badRequest("\"" + std::string(key) + "\" must be an object");
    return std::move(value->get_object());
}

std::optional<std::int64_t>
integerOf(json::object& delivery, std::string_view key, std::int64_t min, std::int64_t max)
{
    json::value const* const value = member(delivery, key);
    if (!value)
        return std::nullopt;
    if (!value->is_int64() || value->get_int64() < min || value->get_int64() > max)
        throw badRequest("\"" + std::string(key) + "\" must be an integer from " + std::to_string(min) +
                         " to " + std::to_string(max));
    return value->get_int64();
}

std::optional<records::WhenUnavailable> whenUnavailableOf(json::object& delivery)
{
    json::value const* const value = member(delivery, "whenUnavailable");
    if (!value)
        return std::nullopt;
    auto const wanted = records::fromJson<records::WhenUnavailable>(*value);
    if (!wanted)
        throw badRequest(R"("whenUnavailable" must be "fail" or "queue")");
    return wanted;
}

records::DeliveryOptions deliveryOf(json::object& body)
{
    using namespace DeliveryBounds;
    for (std::string_view const key : deliveryKeys)
        if (body.contains(key)) // Ignoring it would surprise the caller.
            throw badRequest("\"" + std::string(key) + R"(" belongs into "delivery")");
    auto delivery = takeObject(body, "delivery");
    if (!delivery)
        return {};
    for (auto const& one : *delivery)
        if (std::ranges::find(deliveryKeys, std::string_view(one.key())) == deliveryKeys.end())
            throw badRequest("\"" + text::prefix(one.key(), maxName) + "\" is no delivery option");
    return {.confirmationTimeoutMs =
                integerOf(*delivery, "confirmationTimeoutMs", minConfirmation, maxConfirmation),
            .ttlSeconds = integerOf(*delivery, "ttlSeconds", minTtl, maxTtl),
            .whenUnavailable = whenUnavailableOf(*delivery)};
}

} // namespace

PlatformCommand readCommand(json::object body)
{
    PlatformCommand command;
    command.method = methodOf(body);
    command.params = takeObject(body, "params");
    command.agent = takeObject(body, "agent");
    command.delivery = deliveryOf(body);
    return command;
}

} // namespace zelvo::service
