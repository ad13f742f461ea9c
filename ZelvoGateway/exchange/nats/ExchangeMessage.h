#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zelvo::service {

/// What travels between two nodes as one message.
struct ExchangeMessage {
    enum class Kind : std::uint8_t {
        ask = 1, ///< word: kind of the question; number: milliseconds of patience; text: the first piece
        answer,  ///< text: the first piece
        failure, ///< of a question; text: see failureText()
        piece,   ///< of the question or its answer; number: where it belongs; text
        credit,  ///< the receiver of pieces takes them up to `number`
        cancel,  ///< nobody waits for the answer, or no further piece can be taken
        held,    ///< the sender holds the machine `word` in the term `number`
        notice,  ///< word: the topic; text
        present, ///< the sender is connected; word: its version
    };

    Kind kind = Kind::notice;
    std::uint64_t exchangeId = 0; ///< of a question; unique with the node that asks
    std::int64_t sentAt = 0;      ///< by the sender's clock, in milliseconds since 1970
    std::uint64_t number = 0;
    std::uint64_t size = 0; ///< of the whole text, of which the first piece is here
    std::string sender;     ///< the node
    std::string word;
    std::string text;

    bool operator==(ExchangeMessage const&) const = default;
};

constexpr std::size_t maxWord = 200; ///< bytes of a sender or a word

/// Throws std::length_error if the sender or the word is too long.
std::string bytesOf(ExchangeMessage const& message);
/// `nullopt` if it is no message of this version of the format.
std::optional<ExchangeMessage> messageIn(std::string_view bytes);

} // namespace zelvo::service
