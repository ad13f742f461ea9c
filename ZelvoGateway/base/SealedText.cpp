#include "ZelvoGateway/base/SealedText.h"

#include "ZelvoGateway/base/Seal.h"
#include "base/Base64.h"

namespace zelvo::service {

namespace {

constexpr char const* purpose = "sealed text";

}

std::string sealed(std::string_view text, std::string_view secret)
{
    std::string const bytes = Seal(secret, purpose).close(text);
    return base64::encode({reinterpret_cast<unsigned char const*>(bytes.data()), bytes.size()});
}

std::optional<std::string> unsealed(std::string_view sealedText, std::string_view secret)
{
    auto const bytes = base64::decode(sealedText);
    return bytes ? Seal(secret, purpose).open(*bytes) : std::nullopt;
}

} // namespace zelvo::service
