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

ApiKey ApiKey::loadOrMake(DataFolder const& folder)
{
    std::string key;
    if (auto const stored = folder.read(keyFile)) {
        key = withoutLineEnd(*stored);
        if (!canBeAKey(key))
            throw std::runtime_error(
                folder.file(keyFile).string() +
                " holds no usable key: at least 32 letters, digits, _ or -. Remove it to get a new one");
        ::chmod(folder.file(keyFile).c_str(), 0600);
    } else {
        key = "zk_" + newSecret();
        folder.write(keyFile, key + "\n");
    }
    folder.write(headerFile, "Authorization: Bearer " + key + "\n");
    return ApiKey(std::move(key));
}

bool ApiKey::matches(std::string_view candidate) const
{
    return sameSecret(candidate, text);
}

} // namespace zelvo::service
