#include "ZelvoGateway/Administration.h"
#include "ZelvoGateway/base/BackupManifest.h"
#include "ZelvoGateway/base/DataFolder.h"
#include "ZelvoGateway/base/Dates.h"
#include "ZelvoGateway/recordings/FolderRecordingFiles.h"
#include "ZelvoGateway/store/StoreCopy.h"
#include "base/DateText.h"
#include "base/Identifiers.h"

#include <sys/stat.h>

#include <cstdio>
#include <ostream>
#include <stdexcept>
#include <system_error>

namespace zelvo::service {

namespace {

namespace fs = std::filesystem;

/// A folder that appears under its name when it is complete; until then it is beside it, as "NAME.part-...".
class FolderDraft {
public:
    /// Throws std::runtime_error unless `target` is missing or an empty folder.
    explicit FolderDraft(fs::path target);
    FolderDraft(FolderDraft const&) = delete;
    FolderDraft& operator=(FolderDraft const&) = delete;
    ~FolderDraft()
    {
        std::error_code ignored;
        fs::remove_all(draft, ignored); // Does nothing after keep().
    }

    fs::path const& path() const { return draft; }
    void keep();

private:
    fs::path target;
    fs::path draft;
};

FolderDraft::FolderDraft(fs::path wanted) : target(fs::absolute(wanted).lexically_normal()), draft()
{
    if (!target.has_filename())
        target = target.parent_path();
    std::error_code error;
    auto const status = fs::symlink_status(target, error);
    bool const isEmptyFolder = fs::is_directory(status) && fs::is_empty(target);
    if (fs::exists(status) && !isEmptyFolder)
        throw std::runtime_error(target.string() + " exists already; name a new or an empty folder");
    draft = target.string() + ".part-" + randomHex(6);
}

void FolderDraft::keep()
{
    syncFolder(draft);
    if (std::rename(draft.c_str(), target.c_str()) != 0)
        throw std::runtime_error("cannot make " + target.string() + ": " +
                                 std::generic_category().message(errno));
    syncFolder(target.parent_path());
}

/// Copies what a gateway keeps.
class Backup {
public:
    Backup(fs::path data, fs::path target) : data(std::move(data)), target(std::move(target)) {}

    void addStore();
    void addKey();
    void addRecordings(std::ostream& out);
    BackupManifest manifest{.version = ZELVO_VERSION, .createdAt = dates::iso8601(today())};

private:
    void add(std::string const& name, FileDigest digest);

    fs::path data;
    fs::path target;
    std::vector<std::string> recordings;
};

void Backup::add(std::string const& name, FileDigest digest)
{
    manifest.files.push_back({.name = name, .digest = std::move(digest)});
}

void Backup::addStore()
{
    fs::path const copy = target / BackupManifest::storeName;
    StoreCopy made = StoreCopy::make(data / BackupManifest::storeName, copy);
    manifest.storeVersion = made.version;
    recordings = std::move(made.recordings);
    add(BackupManifest::storeName, digestOf(copy));
}

void Backup::addKey()
{
    std::string const name = BackupManifest::keyName;
    try {
        add(name, copyToPrivateFile(data / name, target / name));
    } catch (MissingFile const&) {
        // The first start makes it.
    }
}

void Backup::addRecordings(std::ostream& out)
{
    fs::path const folder = target / "recordings";
    if (::mkdir(folder.c_str(), 0700) != 0)
        throw std::runtime_error("cannot make " + folder.string() + ": " +
                                 std::generic_category().message(errno));
    for (std::string const& id : recordings) {
        std::string const name = "recordings/" + FolderRecordingFiles::nameOf(id);
        try {
            add(name, copyToPrivateFile(data / name, target / name));
        } catch (MissingFile const&) {
            out << "recording " << id << " was deleted meanwhile\n";
        }
    }
    syncFolder(folder);
}

} // namespace

void backUp(Flags const& flags, std::ostream& out)
{
    fs::path const data = flags.settings.dataFolder;
    if (!fs::exists(data / BackupManifest::storeName))
        throw std::runtime_error("there is no gateway's state in " + data.string());
    RecordingPlace const& place = flags.settings.recordingPlace;
    if (flags.withRecordings && (place.kind != RecordingPlace::Kind::folder || !place.folder.empty()))
        throw std::runtime_error(
            "the recordings are not in the data folder, so --with-recordings can't copy them; "
            "back them up where they are");
    FolderDraft draft(flags.backupFolder);
    DataFolder const folder(draft.path());
    Backup backup(data, draft.path());
    backup.addStore();
    backup.addKey();
    if (flags.withRecordings)
        backup.addRecordings(out);
    folder.write(BackupManifest::fileName, backup.manifest.text());
    draft.keep();
    std::uint64_t bytes = 0;
    for (BackupFile const& file : backup.manifest.files)
        bytes += file.digest.bytes;
    out << "backup " << flags.backupFolder << "\nfiles " << backup.manifest.files.size() << "\nbytes "
        << bytes << "\n";
}

} // namespace zelvo::service
