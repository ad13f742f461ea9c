#include "platform/linux/x11/input/KeyLoan.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

std::vector<KeyLoan> someLoans()
{
    KeySymbols const fourGroups{
        .types = {2, 1, 0, 3}, .groups = 0x84, .width = 2, .symbols = {1, 2, 3, 4, 5, 6, 7, 8}};
    return {{93, KeySymbols::typing(U'é', U'漢'), {}}, {191, KeySymbols::typing(0x1F600, 0), fourGroups}};
}

TEST(KeyLoan, survivesThePropertyAndBack)
{
    EXPECT_EQ(readLoans(writeLoans(someLoans())), someLoans());
    EXPECT_TRUE(readLoans(writeLoans({})).empty());
}

TEST(KeyLoan, takesWholeLoansOfACutProperty)
{
    std::vector<std::uint32_t> const whole = writeLoans(someLoans());

    for (std::size_t length = 0; length < whole.size(); ++length) {
        auto const loans = readLoans(std::span(whole).first(length));

        ASSERT_LT(loans.size(), 2U);
        if (!loans.empty())
            EXPECT_EQ(loans.front(), someLoans().front());
    }
}

TEST(KeyLoan, readsNothingOutOfAForeignProperty)
{
    std::vector<std::uint32_t> foreign = writeLoans(someLoans());
    foreign[0] = 7;
    EXPECT_TRUE(readLoans(foreign).empty());

    std::vector<std::uint32_t> huge = writeLoans(someLoans());
    huge[4] = 0xFFFFFFFF; // The number of symbols.
    EXPECT_TRUE(readLoans(huge).empty());
}

TEST(KeySymbols, surviveTheWireAndBack)
{
    std::vector<KeySymbols> const keys{{}, KeySymbols::typing(U'я', U'Я'), someLoans()[1].former};
    std::vector<std::uint8_t> const bytes = writeKeySymbols(keys);

    EXPECT_EQ(readKeySymbols(bytes, keys.size()), keys);
    for (std::size_t length = 0; length < bytes.size(); ++length)
        EXPECT_EQ(readKeySymbols(std::span(bytes).first(length), keys.size()), std::nullopt);
}

TEST(KeySymbols, knowAnEmptyKey)
{
    EXPECT_TRUE(KeySymbols{}.isEmpty());
    EXPECT_TRUE((KeySymbols{.groups = 1, .width = 2, .symbols = {0, 0}}.isEmpty()));
    EXPECT_FALSE(KeySymbols::typing(U'a', 0).isEmpty());
}

TEST(KeySymbols, nameCharactersByKeysym)
{
    EXPECT_EQ(keysymOf(U'é'), 0xE9U);
    EXPECT_EQ(keysymOf(U'я'), 0x0100044FU);
    EXPECT_EQ(keysymOf(0x1F600), 0x0101F600U);
    EXPECT_EQ(keysymOf(0), 0U);
}

} // namespace
} // namespace zelvo
