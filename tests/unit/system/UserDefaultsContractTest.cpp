// The same checks for every implementation of UserDefaults.
#include "TemporaryFolder.h"
#include "fakes/FakeUserDefaults.h"
#include "fakes/Run.h"
#include "platform/portable/settings/FileUserDefaults.h"

#include <gtest/gtest.h>

namespace zelvo {

namespace {

using Texts = std::vector<std::string>;

struct FakeSettings {
    asio::io_context io;
    FakeUserDefaults defaults;
};

struct FileSettings {
    asio::io_context io;
    TemporaryFolder folder;
    FileUserDefaults defaults{io.get_executor(), folder.path / "defaults"};
};

template <class Settings>
class UserDefaultsContract : public testing::Test {
protected:
    Settings settings;
    UserDefaults& defaults = settings.defaults;
};

using Implementations = testing::Types<FakeSettings, FileSettings>;
TYPED_TEST_SUITE(UserDefaultsContract, Implementations);

TYPED_TEST(UserDefaultsContract, isEmptyAtFirst)
{
    EXPECT_EQ(this->defaults.text("a"), std::nullopt);
    EXPECT_EQ(this->defaults.boolean("a"), std::nullopt);
    EXPECT_EQ(this->defaults.integer("a"), std::nullopt);
    EXPECT_EQ(this->defaults.textArray("a"), std::nullopt);
    EXPECT_EQ(this->defaults.bytes("a"), std::nullopt);
}

TYPED_TEST(UserDefaultsContract, givesAtOnceWhatWasSet)
{
    this->defaults.setText("text", "a \"b\" \n ё");
    this->defaults.setBoolean("boolean", true);
    this->defaults.setInteger("integer", INT64_MIN);
    this->defaults.setTextArray("array", {});
    this->defaults.setBytes("bytes", std::string("\0\xff", 2));

    EXPECT_EQ(this->defaults.text("text"), "a \"b\" \n ё");
    EXPECT_EQ(this->defaults.boolean("boolean"), true);
    EXPECT_EQ(this->defaults.integer("integer"), INT64_MIN);
    EXPECT_EQ(this->defaults.textArray("array"), Texts{});
    EXPECT_EQ(this->defaults.bytes("bytes"), std::string("\0\xff", 2));
}

TYPED_TEST(UserDefaultsContract, replacesAValueOfAnotherType)
{
    this->defaults.setTextArray("a", {"x", "y"});
    this->defaults.setBoolean("a", false);

    EXPECT_EQ(this->defaults.textArray("a"), std::nullopt);
    EXPECT_EQ(this->defaults.boolean("a"), false);
}

TYPED_TEST(UserDefaultsContract, readsAnotherTypeAsAbsent)
{
    this->defaults.setText("text", "1");
    this->defaults.setInteger("one", 1);

    EXPECT_EQ(this->defaults.integer("text"), std::nullopt);
    EXPECT_EQ(this->defaults.textArray("text"), std::nullopt);
    EXPECT_EQ(this->defaults.boolean("one"), std::nullopt);
    EXPECT_EQ(this->defaults.text("one"), std::nullopt);
}

TYPED_TEST(UserDefaultsContract, storesValuesAsJson)
{
    this->defaults.setTextArray("a", {"x"});
    EXPECT_EQ(this->defaults.bytes("a"), R"(["x"])");
    this->defaults.setBytes("a", R"( [ "x" , "y" ] )");
    EXPECT_EQ(this->defaults.textArray("a"), (Texts{"x", "y"}));
}

TYPED_TEST(UserDefaultsContract, saysWhenAllIsWritten)
{
    this->defaults.setInteger("a", 1);
    run(this->settings.io, this->defaults.written());
    this->defaults.writeNow();
    EXPECT_EQ(this->defaults.integer("a"), 1);
}

} // namespace

} // namespace zelvo
