#include "ZelvoGateway/Administration.h"
#include "ZelvoGateway/base/BackupManifest.h"
#include "ZelvoGateway/base/DataFolder.h"
#include "ZelvoGateway/store/SqliteStore.h"
#include "ZelvoGateway/store/StoreVersion.h"

#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace zelvo::service {

namespace {

namespace fs = std::filesystem;

// What models hold references to may have numbers that were given out after the backup.
constexpr std::uint64_t skippedNumbers = 1'000'000;

/// Throws std::runtime_error unless a gateway's state can be put here without taking another one's place.
void assertIsFree(fs::path const& data)
{
    struct stat status{};
    if (::stat(data.c_str(), &status) != 0)
        return;
    if (!S_ISDIR(status.st_mode))
        throw std::runtime_error(data.string() + " is no folder");
    if (DataFolder::isServed(data))
        throw std::runtime_error("a gateway is running on " + data.string() +
                                 "; stop it and move the folder away first");
    if (!fs::is_empty(data))
        throw std::runtime_error(data.string() + " is not empty; move it away first, for instance to " +
                                 data.string() + ".old");
    if (status.st_uid != ::geteuid())
        throw std::runtime_error(data.string() + " belongs to another user; restore as that user");
}

std::string manifestTextIn(fs::path const& backup)
{
    try {
        return textWithin(backup / BackupManifest::fileName, BackupManifest::maxBytes);
    } catch (MissingFile const&) {
        throw std::runtime_error(backup.string() + " is no backup: it has no " +
                                 std::string(BackupManifest::fileName));
    }
}

/// A link could bring files of another place into the gateway's folder.
void assertHasNoLinkedFolder(fs::path const& backup)
{
    auto const status = fs::symlink_status(backup / "recordings");
    if (fs::exists(status) && !fs::is_directory(status))
        throw std::runtime_error((backup / "recordings").string() + " is no folder");
}

BackupManifest manifestIn(fs::path const& backup)
{
    BackupManifest manifest = BackupManifest::parse(manifestTextIn(backup));
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
    std::vector<fs::path> entries;
    for (fs::path const& entry : fs::directory_iterator(path, ignored)) // It was empty before.
        if (entry.filename() != DataFolder::unfinishedRestore)
            entries.push_back(entry);
    for (fs::path const& entry : entries)
        fs::remove_all(entry, ignored);
    fs::remove(path / DataFolder::unfinishedRestore, ignored); // Last: without it, the rest counts as whole.
    if (!existed)
        fs::remove(path, ignored);
}

void DataFolderDraft::add(fs::path const& backup, BackupFile const& file)
{
    fs::path const target = path / file.name;
    if (::mkdir(target.parent_path().c_str(), 0700) != 0 && errno != EEXIST)
        throw std::runtime_error("cannot make " + target.parent_path().string() + ": " +
                                 std::generic_category().message(errno));
    if (copyToPrivateFile(backup / file.name, target, file.digest.bytes) != file.digest)
        throw std::runtime_error((backup / file.name).string() +
                                 " is not what the manifest says: it is damaged or incomplete");
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
    assertHasNoLinkedFolder(backup);
    assertIsFree(data);
    DataFolderDraft draft(data);
    for (BackupFile const& file : manifest.files)
        draft.add(backup, file);
    draft.keep();
    out << "restored the backup of " << manifest.createdAt << " to " << data.string() << "\n";
}

} // namespace zelvo::service
