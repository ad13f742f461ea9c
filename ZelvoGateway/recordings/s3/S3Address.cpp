#include "ZelvoGateway/recordings/s3/S3Address.h"

#include <charconv>

namespace zelvo::service {

namespace {

bool isUnreserved(char sign)
{
    return (sign >= 'a' && sign <= 'z') || (sign >= 'A' && sign <= 'Z') || (sign >= '0' && sign <= '9') ||
           sign == '-' || sign == '_' || sign == '.' || sign == '~';
}

std::string escaped(std::string_view text, bool isPath)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string result;
    for (char const sign : text) {
        if (isUnreserved(sign) || (isPath && sign == '/')) {
            result += sign;
            continue;
        }
        auto const byte = static_cast<unsigned char>(sign);
        result += {'%', digits[byte >> 4], digits[byte & 15]};
    }
    return result;
}

/// "https://BUCKET.host" or "https://host/BUCKET".
std::string bucketAddress(S3Settings const& place)
{
    if (place.pathStyle)
        return place.endpoint + "/" + place.bucket;
    std::size_t const host = place.endpoint.find("://") + 3;
    return place.endpoint.substr(0, host) + place.bucket + "." + place.endpoint.substr(host);
}

} // namespace

std::string s3Address(S3Settings const& place, std::string_view key, S3Query const& query)
{
    std::string address = bucketAddress(place) + "/" + escaped(key, true);
    char separator = '?';
    for (auto const& [name, value] : query) {
        address += separator + s3Escaped(name) + "=" + s3Escaped(value);
        separator = '&';
    }
    return address;
}

std::string s3Escaped(std::string_view text)
{
    return escaped(text, false);
}

std::string s3Unescaped(std::string_view text)
{
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        unsigned char byte = 0;
        char const* const digits = text.data() + at + 1;
        if (text[at] == '%' && text.size() - at > 2 &&
            std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2) {
            result += static_cast<char>(byte);
            at += 2;
        } else {
            result += text[at];
        }
    }
    return result;
}

std::string s3XmlText(std::string_view text)
{
    std::string result;
    for (char const sign : text) {
        if (sign == '&')
            result += "&amp;";
        else if (sign == '<')
            result += "&lt;";
        else if (sign == '>')
            result += "&gt;";
        else
            result += sign;
    }
    return result;
}

} // namespace zelvo::service
