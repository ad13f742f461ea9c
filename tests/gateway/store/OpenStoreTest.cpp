#include "ZelvoGateway/store/OpenStore.h"

#include "ZelvoGateway/store/StoreVersion.h"
#include "gateway/support/Gateway.h"

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <string>

namespace zelvo::service {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class OpenStoreTest : public testing::Test {
protected:
    void makeOlderStore()
    {
        std::ifstream stream(fs::path(ZELVO_STORES) / "v0.sql", std::ios::binary);
        Database(file).execute(std::string(std::istreambuf_iterator<char>(stream), {}));
        ASSERT_TRUE(StoreVersion::isOlder(file));
    }
    std::string refusal()
    {
        try {
            openStore(folder);
        } catch (std::runtime_error const& error) {
            return error.what();
        }
        return "";
    }

    TemporaryFolder place;
    DataFolder folder{place.path / "data"};
    DataFolder gateway{place.path / "data"};
    fs::path const file = folder.file(storeFile);
};

TEST_F(OpenStoreTest, makesAStoreThatIsMissing)
{
    EXPECT_FALSE(StoreVersion::isOlder(file));

    EXPECT_TRUE(openStore(folder).machines().empty());

    EXPECT_FALSE(StoreVersion::isOlder(file));
    EXPECT_FALSE(DataFolder::isServed(place.path / "data"));
}

TEST_F(OpenStoreTest, opensACurrentStoreBesideAGateway)
{
    openStore(folder);
    gateway.lock();

    EXPECT_EQ(refusal(), "");
}

TEST_F(OpenStoreTest, changesNoStoreOfARunningGatewayOfAnOlderVersion)
{
    makeOlderStore();
    gateway.lock();

    EXPECT_THAT(refusal(), HasSubstr("is of an older version"));

    EXPECT_TRUE(StoreVersion::isOlder(file));
    EXPECT_FALSE(fs::exists(StoreVersion::copyOf(file, 0)));
}

TEST_F(OpenStoreTest, keepsGatewaysOutWhileItBringsAStoreUpToDate)
{
    makeOlderStore();
    fs::path const left = file.string() + ".v0.part.1";
    std::ofstream(left) << "x";

    EXPECT_TRUE(openStore(folder).connection("con_1"));

    EXPECT_TRUE(fs::exists(StoreVersion::copyOf(file, 0)));
    EXPECT_FALSE(fs::exists(left));
    EXPECT_THROW(gateway.lock(), std::runtime_error);
}

} // namespace
} // namespace zelvo::service
