#include "ZelvoGateway/console/KeyBody.h"
#include "ZelvoGateway/http/HttpError.h"

#include <cstdint>
#include <cstdlib>

// What the console sends to make an API key.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace zelvo;
    using namespace zelvo::service;
    auto const body = parseJson({reinterpret_cast<char const*>(data), size});
    if (!body || !body->is_object())
        return 0;
    json::object const& object = body->get_object();
    try {
        KeyRequest const request = keyRequestIn(object);
        bool const lists = object.contains("connections") || object.contains("endUsers");
        bool const limited = !request.reach.connections.empty() || !request.reach.endUsers.empty();
        if (request.reach.all || lists != limited)
            std::abort(); // A list never turns into a key that reaches everything.
    } catch (HttpError const&) {
    }
    return 0;
}
