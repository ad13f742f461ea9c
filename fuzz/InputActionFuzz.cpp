#include "drivers/InputAction.h"
#include "wire/AgentError.h"
#include "wire/Json.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>

/// An entry is either an action with finite coordinates or an invalid request, nothing else.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    auto const entry = zelvo::parseJson({reinterpret_cast<char const*>(data), size});
    if (!entry || !entry->is_object())
        return 0;
    try {
        auto const action = zelvo::InputAction::parse(entry->get_object());
        if (!(action == zelvo::InputAction::parse(entry->get_object())))
            std::abort(); // A NaN was accepted.
        auto const point = action.targetPoint();
        if (point && (!std::isfinite(point->x) || !std::isfinite(point->y)))
            std::abort();
        if (action.isTextInput() && point)
            std::abort();
    } catch (zelvo::AgentError error) {
        if (error != zelvo::AgentError::invalidRequest)
            std::abort();
    } catch (zelvo::DetailedAgentError const& error) {
        if (error.error != zelvo::AgentError::invalidRequest)
            std::abort();
    }
    return 0;
}
