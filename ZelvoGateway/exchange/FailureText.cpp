#include "ZelvoGateway/exchange/FailureText.h"

#include "wire/Json.h"

namespace zelvo::service {

namespace {

Failure unreadable()
{
    return {.message = "The node of the machine gave no answer that makes sense"};
}

} // namespace

std::string failureText(Failure const& failure)
{
    json::object text = {{"code", rawValue(failure.code)},
                         {"message", failure.message},
                         {"kind", static_cast<int>(failure.kind)},
                         {"requestId", failure.requestId},
                         {"wasNotStarted", failure.wasNotStarted}};
    if (failure.details)
        text["details"] = *failure.details;
    return writeJson(text);
}

Failure failureOf(std::string_view text)
{
    auto const value = parseJson(text);
    json::object const* const object = value ? value->if_object() : nullptr;
    if (!object)
        return unreadable();
    auto const codeText = read::text(*object, "code");
    auto const code = codeText ? fromRawValue<ErrorCode>(*codeText) : std::nullopt;
    auto const message = read::text(*object, "message");
    auto const kind = read::integer(*object, "kind");
    if (!code || !message || !kind || *kind < 0 || *kind > static_cast<int>(Failure::Kind::incomplete))
        return unreadable();
    Failure failure{.code = *code, .message = *message};
    failure.kind = static_cast<Failure::Kind>(*kind);
    failure.requestId = read::text(*object, "requestId").value_or("");
    failure.wasNotStarted = read::boolean(*object, "wasNotStarted").value_or(false);
    if (auto const* const details = read::object(*object, "details"))
        failure.details = *details;
    return failure;
}

} // namespace zelvo::service
