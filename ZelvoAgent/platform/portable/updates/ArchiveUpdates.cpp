#include "platform/portable/updates/ArchiveUpdates.h"

#include "platform/portable/updates/ArchiveUpdateController.h"

#include <utility>

namespace zelvo {

ArchiveUpdates::Parts::Parts(Services given)
    : services(std::move(given)),
      version(services.information.text("CFBundleShortVersionString").value_or("0")),
      folder(services.program), records(services.records), trial(folder, version, records)
{
}

ArchiveUpdates::ArchiveUpdates(Services services) : parts(std::make_shared<Parts>(std::move(services))) {}

std::unique_ptr<UpdateController> ArchiveUpdates::start(UpdateDelegate& delegate)
{
    return std::make_unique<ArchiveUpdateController>(parts, delegate);
}

} // namespace zelvo
