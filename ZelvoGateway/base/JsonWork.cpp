#include "ZelvoGateway/base/JsonWork.h"

#include "ZelvoGateway/base/Settings.h"
#include "base/Hop.h"

namespace zelvo::service {

namespace {

constexpr std::size_t longText = 64_KiB;

} // namespace

Task<std::optional<json::value>> parseOn(Executor workers, std::string_view text)
{
    if (text.size() <= longText)
        co_return parseJson(text);
    auto const parse = [text] { return parseJson(text); };
    co_return co_await on(workers, parse);
}

Task<std::string> writeOn(Executor workers, json::value value, std::size_t bytes)
{
    if (bytes <= longText)
        co_return writeJson(value);
    auto const write = [&value] { return writeJson(value); };
    co_return co_await on(workers, write);
}

} // namespace zelvo::service
