#pragma once

#include "wire/records/Commands.h"
#include "wire/records/RecordCodec.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// The records of the wire: parameters and results of shell, files, applications, windows and clipboard.
namespace zelvo::records {

using WindowInfoFrame = ElementFrame;

struct ShellRequest {
    std::string command;
    std::optional<std::string> cwd;
    std::optional<std::map<std::string, std::string>> env;
    std::int64_t timeoutMs{};
    bool operator==(ShellRequest const&) const = default;
};
BOOST_DESCRIBE_STRUCT(ShellRequest, (), (command, cwd, env, timeoutMs))

struct ShellResult {
    std::int64_t durationMs{};
    std::int64_t exitCode{};
    std::string stderr;
    std::string stdout;
    bool timedOut{};
    bool truncated{};
    bool operator==(ShellResult const&) const = default;
};
BOOST_DESCRIBE_STRUCT(ShellResult, (), (durationMs, exitCode, stderr, stdout, timedOut, truncated))

struct AppRef {
    std::optional<std::string> bundleId;
    std::optional<std::string> name;
    bool operator==(AppRef const&) const = default;
};
BOOST_DESCRIBE_STRUCT(AppRef, (), (bundleId, name))

struct RunningApp {
    bool active{};
    std::string bundleId;
    std::string name;
    std::int64_t pid{};
    bool operator==(RunningApp const&) const = default;
};
BOOST_DESCRIBE_STRUCT(RunningApp, (), (active, bundleId, name, pid))

struct WindowInfo {
    std::optional<bool> active; ///< no agent for Linux sends it
    std::string appName;
    std::string bundleId;
    WindowInfoFrame frame;
    std::string title;
    bool operator==(WindowInfo const&) const = default;
};
BOOST_DESCRIBE_STRUCT(WindowInfo, (), (active, appName, bundleId, frame, title))

/// The result of a method that has nothing to report.
struct Done {
    bool ok = true;
    bool operator==(Done const&) const = default;
};
BOOST_DESCRIBE_STRUCT(Done, (), (ok))

struct OpenedApp {
    bool ok = true;
    std::string bundleId;
    std::string name;
    bool operator==(OpenedApp const&) const = default;
};
BOOST_DESCRIBE_STRUCT(OpenedApp, (), (ok, bundleId, name))

struct UploadedFile {
    bool ok = true;
    std::int64_t sizeBytes{};
    bool operator==(UploadedFile const&) const = default;
};
BOOST_DESCRIBE_STRUCT(UploadedFile, (), (ok, sizeBytes))

struct DownloadedFile {
    std::string mime;
    json::string data; ///< base64; as long as a file
    bool operator==(DownloadedFile const&) const = default;
};
BOOST_DESCRIBE_STRUCT(DownloadedFile, (), (mime, data))

struct OpenURLRequest {
    std::string url;
    bool operator==(OpenURLRequest const&) const = default;
};
BOOST_DESCRIBE_STRUCT(OpenURLRequest, (), (url))

struct ClipboardText {
    std::string text;
    bool operator==(ClipboardText const&) const = default;
};
BOOST_DESCRIBE_STRUCT(ClipboardText, (), (text))

} // namespace zelvo::records
