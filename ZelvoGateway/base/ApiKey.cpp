#include "ZelvoGateway/base/ApiKey.h"

#include "ZelvoGateway/base/Secrets.h"

#include <sys/stat.h>

#include <algorithm>
#include <stdexcept>

namespace zelvo::service {

namespace {

constexpr char const* keyFile = "api-key";
constexpr char const* headerFile = "authorization.header";

std::string withoutLineEnd(std::string text)
{
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' '))
        text.pop_back();
    return text;
}

bool canBeAKey(std::string const& text)
{
    // It is sent in a header, and a short one could be guessed.
    return text.size() >= 32 && std::ranges::all_of(text, [](unsigned char sign) {
               return std::isalnum(sign) || sign == '_' || sign == '-';
           });
}

} // namespace

std::optional<ApiKey> ApiKey::stored(std::filesystem::path const& dataFolder)
{
    std::filesystem::path const file = dataFolder / keyFile;
    auto const text = textOfFile(file);
    if (!text)
        return std::nullopt;
    std::string key = withoutLineEnd(*text);
    if (!canBeAKey(key))
        throw std::runtime_error(
            file.string() +
            " holds no usable key: at least 32 letters, digits, _ or -. Remove it to get a new one");
    return ApiKey(std::move(key));
}

ApiKey ApiKey::loadOrMake(DataFolder const& folder)
{
    auto key = stored(folder.file(""));
    if (key) {
        ::chmod(folder.file(keyFile).c_str(), 0600);
    } else {
        key.emplace("zk_" + newSecret());
        folder.write(keyFile, key->value() + "\n");
    }
    folder.write(headerFile, "Authorization: Bearer " + key->value() + "\n");
    return *std::move(key);
}

bool ApiKey::matches(std::string_view candidate) const
{
    return sameSecret(candidate, text);
}

} // namespace zelvo::service
