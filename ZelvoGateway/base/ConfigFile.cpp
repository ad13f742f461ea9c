#include "ZelvoGateway/base/ConfigFile.h"

#include "ZelvoGateway/base/FlagTable.h"
#include "ZelvoGateway/base/OwnedDescriptor.h"
#include "base/Blanks.h"
#include "base/Text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <stdexcept>
#include <system_error>

namespace zelvo::service {

namespace {

constexpr std::size_t maxShown = 40; // Characters of the name of a setting.

/// A file that can't be used at all; what() says why.
struct UnusableFile : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Whether a line's name can be that of a setting. Anything else may be a secret that was pasted.
bool isShown(std::string_view name)
{
    return !name.empty() && name.size() <= maxShown &&
           std::ranges::all_of(name, [](char sign) { return (sign >= 'a' && sign <= 'z') || sign == '-'; });
}

void assertOnlyOwnerWrites(struct stat const& status)
{
    if (!S_ISREG(status.st_mode))
        throw UnusableFile("this is no file");
    if (status.st_uid != 0 && status.st_uid != ::geteuid())
        throw UnusableFile("it belongs to another user, who could change it");
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
        throw UnusableFile("others may write it; chmod go-w takes that away");
}

std::string contentOf(std::filesystem::path const& path)
{
    // A pipe must not hold up the start.
    int const number = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (number < 0)
        throw UnusableFile(std::generic_category().message(errno));
    OwnedDescriptor const file(number);
    struct stat status{};
    if (::fstat(number, &status) != 0)
        throw UnusableFile(std::generic_category().message(errno));
    assertOnlyOwnerWrites(status);
    std::string text;
    std::array<char, 4096> piece{};
    while (text.size() <= ConfigFile::maxBytes) {
        ssize_t const count = ::read(number, piece.data(), piece.size());
        if (count == 0)
            break;
        if (count > 0)
            text.append(piece.data(), static_cast<std::size_t>(count));
        else if (errno != EINTR)
            throw UnusableFile(std::generic_category().message(errno));
    }
    return text;
}

void assertIsText(std::string_view text)
{
    if (text.size() > ConfigFile::maxBytes)
        throw UnusableFile("it is larger than " + std::to_string(ConfigFile::maxBytes >> 10) + " KiB");
    if (text.find('\0') != std::string_view::npos)
        throw UnusableFile("it contains zero bytes");
    if (!text::isUtf8(text))
        throw UnusableFile("it is not UTF-8");
}

/// One line after the other, with what is wrong in them.
class ConfigParser {
public:
    explicit ConfigParser(std::string name) : name(std::move(name)) {}

    void read(std::string_view text);
    ConfigReading reading;

private:
    void readLine(std::string_view line);
    void readSetting(std::string const& setting, std::string const& value);
    void reportUnknown(std::string const& setting);
    static std::optional<std::string> problemWith(Flag const& flag, std::string const& value);
    void report(std::string const& problem);

    std::string const name;
    GivenValues seen; // Also those that can't be used.
    int number = 0;   // Of the line.
    std::size_t problems = 0;
};

void ConfigParser::read(std::string_view text)
{
    constexpr std::string_view byteOrderMark = "\xef\xbb\xbf";
    if (text.starts_with(byteOrderMark))
        text.remove_prefix(byteOrderMark.size());
    while (!text.empty()) {
        std::size_t const end = std::min(text.find('\n'), text.size());
        ++number;
        readLine(text::withoutBlanks(text.substr(0, end)));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    if (problems > ConfigFile::maxProblems)
        reading.problems.push_back(name + ": " + std::to_string(problems - ConfigFile::maxProblems) +
                                   " more problems");
}

void ConfigParser::readLine(std::string_view line)
{
    if (line.empty() || line.starts_with('#'))
        return;
    std::size_t const equals = line.find('=');
    if (equals == std::string_view::npos) { // Not shown: it may be a secret.
        report("a line like \"port = 8737\" is needed");
        return;
    }
    std::string const setting(text::withoutBlanks(line.substr(0, equals)));
    std::string const value(text::withoutBlanks(line.substr(equals + 1)));
    readSetting(setting, value);
}

void ConfigParser::readSetting(std::string const& setting, std::string const& value)
{
    Flag const* const flag = flagOfSetting(setting);
    if (!flag) {
        reportUnknown(setting);
        return;
    }
    if (flag->kind == Flag::Kind::argument) {
        report(setting + ": this belongs on the command line");
        return;
    }
    if (!flag->repeats && seen.contains(setting)) {
        report(setting + ": it has a value already, in line " + seen.at(setting).front());
        return;
    }
    seen[setting].push_back(std::to_string(number));
    if (auto const problem = problemWith(*flag, value))
        report(setting + ": " + *problem);
    else if (!flag->isSwitch() || value == "yes")
        reading.values[setting].push_back(value);
}

void ConfigParser::reportUnknown(std::string const& setting)
{
    bool const hasDashes = setting.starts_with("--") && flagOfSetting(setting.substr(2));
    if (hasDashes)
        report(setting + ": names are written without \"--\" here");
    else
        report(isShown(setting) ? "there is no setting \"" + setting + "\""
                                : "what is left of \"=\" is no setting");
}

std::optional<std::string> ConfigParser::problemWith(Flag const& flag, std::string const& value)
{
    if (flag.isSwitch())
        return value == "yes" || value == "no" ? std::nullopt : std::optional("yes or no is needed");
    if (text::withoutControlCharacters(value) != value)
        return "the value contains control characters";
    if (value.size() > 1 && value.starts_with('"') && value.ends_with('"'))
        return "the value must be written without quotes";
    if (flag.isPath() && !value.empty() && !value.starts_with('/'))
        return "a path that begins with / is needed";
    return flag.problemWith(value, Flag::Values::hidden);
}

void ConfigParser::report(std::string const& problem)
{
    if (++problems <= ConfigFile::maxProblems)
        reading.problems.push_back(name + ":" + std::to_string(number) + ": " + problem);
}

} // namespace

ConfigReading ConfigFile::parse(std::string_view text, std::string const& name)
{
    try {
        assertIsText(text);
    } catch (UnusableFile const& error) {
        return {.values = {}, .problems = {name + ": " + error.what()}};
    }
    ConfigParser parser(name);
    parser.read(text);
    return std::move(parser.reading);
}

ConfigReading ConfigFile::read(std::filesystem::path const& file)
{
    try {
        return parse(contentOf(file), file.string());
    } catch (UnusableFile const& error) {
        return {.values = {}, .problems = {file.string() + ": " + error.what()}};
    }
}

} // namespace zelvo::service
