#pragma once

#include "base/Task.h"
#include "platform/UserDefaults.h"

#include <filesystem>
#include <functional>
#include <memory>

namespace zelvo {

/// One file per key, `KEY.json` in one folder: a value as JSON, or raw bytes. Values are cached in memory; a
/// read checks the file's identity. Writing starts at once on the workers; values set meanwhile are written
/// in the next round, the newest value of each key. A key that is not a plain file name is never stored and
/// reads as absent. Thread: any.
class FileUserDefaults final : public UserDefaults {
public:
    /// folder  created, with mode 0700, at the first write
    /// wasPutBack  whether this version runs in place of a newer one that could not start
    FileUserDefaults(Executor workers, std::filesystem::path folder, std::function<bool()> wasPutBack = {});
    /// Unwritten values are left to the running round; call writeNow() at the normal end.
    ~FileUserDefaults() override;

    void bringUpToDate() override;
    std::optional<std::string> text(std::string_view key) override;
    std::optional<bool> boolean(std::string_view key) override;
    std::optional<std::int64_t> integer(std::string_view key) override;
    std::optional<std::vector<std::string>> textArray(std::string_view key) override;
    std::optional<std::string> bytes(std::string_view key) override;

    void setText(std::string_view key, std::string value) override;
    void setBoolean(std::string_view key, bool value) override;
    void setInteger(std::string_view key, std::int64_t value) override;
    void setTextArray(std::string_view key, std::vector<std::string> value) override;
    void setBytes(std::string_view key, std::string value) override;

    Task<> written() override;
    void writeNow() override;

private:
    class Store;
    std::filesystem::path folder;
    std::function<bool()> wasPutBack;
    std::shared_ptr<Store> store;
};

} // namespace zelvo
