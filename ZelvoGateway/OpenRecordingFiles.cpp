#include "ZelvoGateway/OpenRecordingFiles.h"

#include "ZelvoGateway/recordings/FolderRecordingFiles.h"
#include "ZelvoGateway/recordings/s3/S3RecordingFiles.h"

namespace zelvo::service {

std::shared_ptr<RecordingFiles const>
openRecordingFiles(RecordingPlace const& place, DataFolder const& folder, Store& store)
{
    if (place.kind == RecordingPlace::Kind::s3)
        return std::make_shared<S3RecordingFiles const>(place.s3, store.ownId());
    if (!place.folder.empty())
        return std::make_shared<FolderRecordingFiles const>(place.folder,
                                                            FolderSharing{.owner = store.ownId()});
    return std::make_shared<FolderRecordingFiles const>(folder.file("recordings"));
}

} // namespace zelvo::service
