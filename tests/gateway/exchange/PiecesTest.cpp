#include "ZelvoGateway/base/Seal.h"
#include "ZelvoGateway/exchange/FailureText.h"
#include "ZelvoGateway/exchange/nats/ExchangeMessage.h"
#include "ZelvoGateway/exchange/nats/TextInPieces.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace zelvo::service {

namespace {

std::string longText(std::size_t size)
{
    std::string text(size, ' ');
    for (std::size_t at = 0; at < size; ++at)
        text[at] = static_cast<char>(at * 31 % 251);
    return text;
}

TEST(TextInPieces, arrivesWholeAndNeverExceedsTheWindow)
{
    for (std::size_t const size :
         {std::size_t{0}, std::size_t{1}, maxPiece, maxPiece + 1, 5 * pieceWindow + 3}) {
        OutgoingText out(longText(size));
        IncomingText in(size);
        std::size_t received = 0;

        ASSERT_TRUE(in.add(0, out.first()));
        received = std::min(size, maxPiece);
        while (!in.isComplete()) {
            auto const limit = in.newLimit();
            ASSERT_TRUE(limit);
            EXPECT_LE(*limit, received + pieceWindow);
            out.allow(*limit);
            while (auto const piece = out.next()) {
                ASSERT_TRUE(in.add(piece->at, piece->text));
                received += piece->text.size();
                if (auto const more = in.newLimit())
                    out.allow(*more);
            }
        }

        EXPECT_TRUE(out.isSent());
        EXPECT_TRUE(in.take() == longText(size));
    }
}

TEST(TextInPieces, stopsUntilTheReceiverTakesMore)
{
    OutgoingText out(longText(3 * maxPiece));
    out.first();

    EXPECT_FALSE(out.next());
    out.allow(2 * maxPiece);
    EXPECT_TRUE(out.next());
    EXPECT_FALSE(out.next());
    out.allow(maxPiece);
    EXPECT_FALSE(out.next());
    EXPECT_FALSE(out.isSent());
}

TEST(TextInPieces, refusesWhatDoesNotBelong)
{
    IncomingText in(2 * maxPiece);

    EXPECT_FALSE(in.add(1, "a"));
    EXPECT_FALSE(in.add(0, ""));
    EXPECT_FALSE(in.add(0, std::string(maxPiece + 1, 'x')));
    EXPECT_TRUE(in.add(0, std::string(maxPiece, 'x')));
    EXPECT_FALSE(in.add(0, "again"));
    EXPECT_FALSE(IncomingText(2).add(0, "abc"));
}

TEST(ExchangeMessage, isReadAsItWasWritten)
{
    ExchangeMessage const message{.kind = ExchangeMessage::Kind::piece,
                                  .exchangeId = 1ULL << 63 | 5,
                                  .sentAt = -3,
                                  .number = 7,
                                  .size = 9,
                                  .sender = "node_1",
                                  .word = std::string(maxWord, 'w'),
                                  .text = std::string("a\0b", 3)};

    EXPECT_EQ(messageIn(bytesOf(message)), message);
}

TEST(ExchangeMessage, refusesWhatIsNone)
{
    std::string const bytes = bytesOf(ExchangeMessage{.sender = "node", .word = "word"});

    for (std::size_t length = 0; length < bytes.size(); ++length)
        EXPECT_FALSE(messageIn(bytes.substr(0, length))) << length;
    std::string other = bytes;
    other[0] = 2;
    EXPECT_FALSE(messageIn(other));
    other = bytes;
    other[1] = 0;
    EXPECT_FALSE(messageIn(other));
    other[1] = 99;
    EXPECT_FALSE(messageIn(other));
    EXPECT_THROW(bytesOf(ExchangeMessage{.word = std::string(maxWord + 1, 'w')}), std::length_error);
}

TEST(FailureText, isNoTrapForForeignTexts)
{
    for (char const* const text :
         {"", "[]", "{}", R"({"code":"nothing","message":"m","kind":0})",
          R"({"code":"timeout","message":"m","kind":99})", R"({"code":"timeout","message":7,"kind":0})"})
        EXPECT_EQ(failureOf(text).code, ErrorCode::internalError) << text;
    EXPECT_EQ(failureOf(R"({"code":"timeout","message":"m","kind":0})").code, ErrorCode::timeout);
}

TEST(Seal, isForOnePlaceAndPurpose)
{
    Seal const seal("0123456789abcdef0123456789abcdef", "tests");
    std::string const closed = seal.close("text", "here");

    EXPECT_EQ(closed.size(), 4 + Seal::overhead);
    EXPECT_EQ(seal.open(closed, "here"), "text");
    EXPECT_FALSE(seal.open(closed, "there"));
    EXPECT_FALSE(seal.open(closed));
    EXPECT_FALSE(Seal("0123456789abcdef0123456789abcdef", "others").open(closed, "here"));
    EXPECT_FALSE(Seal("another secret of 32 characters!", "tests").open(closed, "here"));
    EXPECT_NE(seal.close("text", "here"), closed);
    for (std::size_t at = 0; at < closed.size(); ++at) {
        std::string changed = closed;
        changed[at] ^= 1;
        EXPECT_FALSE(seal.open(changed, "here")) << at;
    }
}

} // namespace

} // namespace zelvo::service
