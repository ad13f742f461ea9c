#include "ZelvoGateway/exchange/nats/ExchangeMessage.h"

#include <boost/endian/conversion.hpp>

#include <array>
#include <stdexcept>

namespace zelvo::service {

namespace {

constexpr std::uint8_t formatVersion = 1;

void append(std::string& bytes, std::uint64_t number)
{
    std::array<unsigned char, 8> part{};
    boost::endian::store_big_u64(part.data(), number);
    bytes.append(part.begin(), part.end());
}

void appendWord(std::string& bytes, std::string_view word)
{
    if (word.size() > maxWord)
        throw std::length_error("a word between nodes is too long");
    bytes += static_cast<char>(word.size());
    bytes += word;
}

/// Reads from the front. After the end every result is empty, and isGood() false.
class Reader {
public:
    explicit Reader(std::string_view bytes) : bytes(bytes) {}

    std::string_view take(std::size_t count)
    {
        good = good && count <= bytes.size();
        if (!good)
            return {};
        std::string_view const taken = bytes.substr(0, count);
        bytes.remove_prefix(count);
        return taken;
    }
    std::uint8_t byte()
    {
        std::string_view const one = take(1);
        return one.empty() ? 0 : static_cast<std::uint8_t>(one.front());
    }
    std::uint64_t number()
    {
        std::string_view const eight = take(8);
        return eight.empty()
                   ? 0
                   : boost::endian::load_big_u64(reinterpret_cast<unsigned char const*>(eight.data()));
    }
    std::string word()
    {
        std::size_t const length = byte();
        good = good && length <= maxWord;
        return std::string(take(length));
    }
    std::string rest() { return std::string(take(bytes.size())); }
    bool isGood() const { return good; }

private:
    std::string_view bytes;
    bool good = true;
};

bool isKind(std::uint8_t kind)
{
    return kind >= static_cast<std::uint8_t>(ExchangeMessage::Kind::ask) &&
           kind <= static_cast<std::uint8_t>(ExchangeMessage::Kind::present);
}

} // namespace

std::string bytesOf(ExchangeMessage const& message)
{
    std::string bytes;
    bytes.reserve(message.text.size() + message.sender.size() + message.word.size() + 40);
    bytes += static_cast<char>(formatVersion);
    bytes += static_cast<char>(message.kind);
    append(bytes, message.exchangeId);
    append(bytes, static_cast<std::uint64_t>(message.sentAt));
    append(bytes, message.number);
    append(bytes, message.size);
    appendWord(bytes, message.sender);
    appendWord(bytes, message.word);
    return bytes += message.text;
}

std::optional<ExchangeMessage> messageIn(std::string_view bytes)
{
    Reader reader(bytes);
    if (reader.byte() != formatVersion)
        return std::nullopt;
    std::uint8_t const kind = reader.byte();
    if (!isKind(kind))
        return std::nullopt;
    ExchangeMessage message{.kind = static_cast<ExchangeMessage::Kind>(kind)};
    message.exchangeId = reader.number();
    message.sentAt = static_cast<std::int64_t>(reader.number());
    message.number = reader.number();
    message.size = reader.number();
    message.sender = reader.word();
    message.word = reader.word();
    message.text = reader.rest();
    return reader.isGood() ? std::optional(std::move(message)) : std::nullopt;
}

} // namespace zelvo::service
