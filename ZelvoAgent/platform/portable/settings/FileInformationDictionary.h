#pragma once

#include "platform/InformationDictionary.h"

#include <boost/json/object.hpp>

#include <filesystem>

namespace zelvo {

/// The JSON object in a file, read once. A missing or malformed file is an empty dictionary.
class FileInformationDictionary final : public InformationDictionary {
public:
    /// The packaging's file: `Info.json` beside the executable, else `../share/zelvo-agent/Info.json`
    /// relative to it. For the packaged program in /usr/bin, the addresses of /etc/zelvo-agent/Info.json
    /// replace those of the package.
    FileInformationDictionary();
    explicit FileInformationDictionary(std::filesystem::path const& file);
    /// The addresses of the gateway and its console in `replacing`, a file of the same form, replace those in
    /// `file`. Nothing else does, so an upgrade still brings its own version.
    FileInformationDictionary(std::filesystem::path const& file, std::filesystem::path const& replacing);

    std::optional<std::string> text(std::string_view key) const override;

    /// The packaging's file for an executable in this folder.
    static std::filesystem::path fileFor(std::filesystem::path const& executableFolder);

private:
    boost::json::object entries;
};

} // namespace zelvo
