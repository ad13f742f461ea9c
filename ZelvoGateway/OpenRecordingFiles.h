#pragma once

#include "ZelvoGateway/base/DataFolder.h"
#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/recordings/RecordingFiles.h"
#include "ZelvoGateway/store/Store.h"

#include <memory>

namespace zelvo::service {

/// The files of recordings at the place that the settings name; nothing is asked or made yet.
std::shared_ptr<RecordingFiles const>
openRecordingFiles(RecordingPlace const& place, DataFolder const& folder, Store& store);

} // namespace zelvo::service
