#include "platform/linux/applications/EntryText.h"

#include <sstream>

namespace zelvo::EntryText {

namespace {

/// A value's escape character is a backslash.
std::string escaped(std::string_view value)
{
    std::string text;
    for (char const c : value) {
        if (c == '\\')
            text += '\\';
        text += c == '\n' ? std::string("\\n") : std::string(1, c);
    }
    return text;
}

/// One quoted argument of a command line, in which "%" begins a field code.
std::string inQuotes(std::string_view argument)
{
    std::string text = "\"";
    for (char const c : argument) {
        if (std::string_view("\"`$\\").find(c) != std::string_view::npos)
            text += '\\';
        if (c == '%')
            text += '%';
        text += c;
    }
    return text + "\"";
}

bool isKey(std::string_view line, std::string_view key)
{
    return line.starts_with(key) && line.substr(key.size()).starts_with('=');
}

std::string
withCommand(std::string_view packaged, std::filesystem::path const& program, std::string_view arguments)
{
    std::istringstream lines{std::string(packaged)};
    std::string text;
    for (std::string line; std::getline(lines, line);) {
        if (isKey(line, "Exec"))
            line = "TryExec=" + escaped(program.string()) + "\nExec=" + escaped(inQuotes(program.string())) +
                   std::string(arguments);
        text += line + "\n";
    }
    return text;
}

} // namespace

std::string forMenu(std::string_view packaged, std::filesystem::path const& program)
{
    return withCommand(packaged, program, " %u");
}

std::string forAutostart(std::string_view packaged, std::filesystem::path const& program)
{
    return withCommand(packaged, program, "");
}

bool isSwitchedOff(std::string_view entry)
{
    std::istringstream lines{std::string(entry)};
    for (std::string line; std::getline(lines, line);)
        if (line == "Hidden=true" || line == "X-GNOME-Autostart-enabled=false")
            return true;
    return false;
}

} // namespace zelvo::EntryText
