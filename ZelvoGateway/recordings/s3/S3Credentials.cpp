#include "ZelvoGateway/recordings/s3/S3Credentials.h"

#include "ZelvoGateway/base/SecretFile.h"
#include "base/Blanks.h"

#include <algorithm>
#include <stdexcept>

namespace zelvo::service {

namespace {

constexpr std::size_t maxFile = 4096;
constexpr std::size_t maxValue = 512;

bool isUsable(std::string_view value)
{
    return !value.empty() && value.size() <= maxValue &&
           std::ranges::all_of(value, [](char sign) { return sign > ' ' && sign <= '~'; });
}

} // namespace

S3Credentials S3Credentials::read(std::filesystem::path const& file)
{
    return parse(textOfSecretFile(file, maxFile), file.string());
}

S3Credentials S3Credentials::parse(std::string_view text, std::string const& name)
{
    S3Credentials found;
    while (!text.empty()) {
        std::size_t const end = std::min(text.find('\n'), text.size());
        std::string_view const line = text::withoutBlanks(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.empty() || line.starts_with('#'))
            continue;
        std::size_t const equals = std::min(line.find('='), line.size());
        std::string_view const setting = text::withoutBlanks(line.substr(0, equals));
        std::string_view const value = text::withoutBlanks(line.substr(std::min(equals + 1, line.size())));
        std::string& field = setting == "access-key" ? found.accessKey : found.secretKey;
        if ((setting != "access-key" && setting != "secret-key") || !isUsable(value) || !field.empty())
            throw std::runtime_error(
                name + ": the lines \"access-key = ...\" and \"secret-key = ...\" are needed, once each");
        field = value;
    }
    if (found.accessKey.empty() || found.secretKey.empty())
        throw std::runtime_error(name + ": it has no " +
                                 (found.accessKey.empty() ? "access-key" : "secret-key"));
    return found;
}

} // namespace zelvo::service
