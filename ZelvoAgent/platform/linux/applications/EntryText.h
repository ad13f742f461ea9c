#pragma once

#include <filesystem>
#include <string>
#include <string_view>

/// The texts of this program's own desktop entries.
namespace zelvo::EntryText {

/// The packaged entry for a program at a path. It is ignored when the program is gone.
std::string forMenu(std::string_view packaged, std::filesystem::path const& program);
/// The same to start the program with the session, without links.
std::string forAutostart(std::string_view packaged, std::filesystem::path const& program);
/// Whether the person has switched an autostart entry off.
bool isSwitchedOff(std::string_view entry);

} // namespace zelvo::EntryText
