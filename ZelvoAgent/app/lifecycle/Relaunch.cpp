#include "app/lifecycle/Relaunch.h"

#include "base/Hop.h"

#include <utility>

namespace zelvo {

Task<bool> Relaunch::into(Successor which)
{
    if (std::exchange(isArranged, true))
        co_return true;
    auto const arrange = [this, which] {
        ProgramPlaces const places = services.installation.places();
        bool const isCopy = which == Successor::installedCopy;
        return services.installation.startAfterEnd(isCopy ? places.applicationsPath : places.program);
    };
    isArranged = co_await on(services.contexts.workers, arrange);
    if (isArranged)
        services.terminate();
    co_return isArranged;
}

} // namespace zelvo
