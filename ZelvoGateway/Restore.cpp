#include "ZelvoGateway/Administration.h"
#include "ZelvoGateway/base/BackupManifest.h"
#include "ZelvoGateway/base/DataFolder.h"
#include "ZelvoGateway/base/OwnedDescriptor.h"
#include "ZelvoGateway/store/SqliteStore.h"
#include "ZelvoGateway/store/StoreVersion.h"
#include "wire/PrivateMark.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <ostream>
#include <stdexcept>
#include <system_error>

namespace zelvo::service {

namespace {

namespace fs = std::filesystem;

// What models hold references to may have numbers that were given out after the backup.
constexpr std::uint64_t skippedNumbers = 1'000'000;

bool isServed(fs::path const& data)
{
    int const number = ::open((data / "lock").c_str(), O_RDWR | O_CLOEXEC);
    if (number < 0)
        return false;
    OwnedDescriptor const lock(number);
    return ::flock(number, LOCK_EX | LOCK_NB) != 0;
}

/// Throws std::runtime_error unless a gateway's state can be put here without taking another one's place.
void assertIsFree(fs::path const& data)
{
    struct stat status{};
    if (::stat(data.c_str(), &status) != 0)
        return;
    if (!S_ISDIR(status.st_mode))
        throw std::runtime_error(data.string() + " is no folder");
    if (isServed(data))
        throw std::runtime_error("a gateway is running on " + data.string() +
                                 "; stop it and move the folder away first");
    if (!fs::is_empty(data))
        throw std::runtime_error(data.string() + " is not empty; move it away first, for instance to " +
                                 data.string() + ".old");
    if (status.st_uid != ::geteuid())
        throw std::runtime_error(data.string() + " belongs to another user; restore as that user");
}

BackupManifest manifestIn(fs::path const& backup)
{
    fs::path const file = backup / BackupManifest::fileName;
    auto const text = textOfFile(file);
    if (!text)
        throw std::runtime_error(backup.string() + " is no backup: it has no " +
                                 std::string(BackupManifest::fileName));
    BackupManifest manifest = BackupManifest::parse(*text);
    if (manifest.storeVersion > StoreVersion::current)
        throw std::runtime_error("the backup was made by a newer gateway, " + manifest.version +
                                 "; install that one");
    return manifest;
}

/// A data folder that is being filled: it is empty again if it is destroyed without keep().
class DataFolderDraft {
public:
    explicit DataFolderDraft(fs::path path);
    DataFolderDraft(DataFolderDraft const&) = delete;
    DataFolderDraft& operator=(DataFolderDraft const&) = delete;
    ~DataFolderDraft();

    void add(fs::path const& backup, BackupFile const& file);
    void keep();

private:
    fs::path path;
    bool existed;
    bool isKept = false;
    std::unique_ptr<DataFolder> folder;
};

DataFolderDraft::DataFolderDraft(fs::path path)
    : path(std::move(path)), existed(fs::exists(this->path)), folder(std::make_unique<DataFolder>(this->path))
{
    folder->lock();
    folder->write(DataFolder::unfinishedRestore, "A backup is being restored to this folder.\n");
}

DataFolderDraft::~DataFolderDraft()
{
    if (isKept)
        return;
    std::error_code ignored;
    for (fs::path const name :
         {BackupManifest::storeName, "gateway.sqlite-wal", "gateway.sqlite-shm", BackupManifest::keyName})
        fs::remove(path / name, ignored);
    fs::remove_all(path / "recordings", ignored);
    for (fs::path const name : {PrivateMark::fileName, "lock", DataFolder::unfinishedRestore})
        fs::remove(path / name, ignored);
    if (!existed)
        fs::remove(path, ignored);
}

void DataFolderDraft::add(fs::path const& backup, BackupFile const& file)
{
    fs::path const target = path / file.name;
    if (::mkdir(target.parent_path().c_str(), 0700) != 0 && errno != EEXIST)
        throw std::runtime_error("cannot make " + target.parent_path().string() + ": " +
                                 std::generic_category().message(errno));
    if (copyToPrivateFile(backup / file.name, target) != file.digest)
        throw std::runtime_error((backup / file.name).string() +
                                 " is not what the manifest says: it was changed or is not complete");
}

void DataFolderDraft::keep()
{
    SqliteStore(folder->file(BackupManifest::storeName)).reserveNumbers(skippedNumbers);
    if (fs::exists(path / "recordings"))
        syncFolder(path / "recordings");
    syncFolder(path);
    folder->remove(DataFolder::unfinishedRestore);
    isKept = true;
}

} // namespace

void restore(Flags const& flags, std::ostream& out)
{
    fs::path const backup = flags.backupFolder;
    fs::path const data = flags.settings.dataFolder;
    BackupManifest const manifest = manifestIn(backup);
    assertIsFree(data);
    DataFolderDraft draft(data);
    for (BackupFile const& file : manifest.files)
        draft.add(backup, file);
    draft.keep();
    out << "restored the backup of " << manifest.createdAt << " to " << data.string() << "\n";
}

} // namespace zelvo::service
