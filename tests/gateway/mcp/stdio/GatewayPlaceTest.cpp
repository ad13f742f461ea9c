#include "ZelvoGateway/mcp/stdio/GatewayPlace.h"

#include "ZelvoGateway/base/DataFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <memory>

namespace zelvo::service {
namespace {

class GatewayPlaceTest : public testing::Test {
protected:
    GatewayPlaceTest()
    {
        ::unsetenv("ZELVO_API_KEY");
        running->lock();
        write("local-address", "http://127.0.0.1:8737\n");
        write("api-key", "zk_folder\n");
    }
    ~GatewayPlaceTest() override
    {
        ::unsetenv("ZELVO_API_KEY");
        std::filesystem::remove_all(folder);
    }

    void write(std::string const& name, std::string const& text) const
    {
        std::ofstream(folder / name) << text;
    }
    static std::string failureOf(GatewayChoice const& choice)
    {
        try {
            placeOf(choice);
        } catch (std::runtime_error const& error) {
            return error.what();
        }
        return "no failure";
    }

    std::filesystem::path const folder =
        std::filesystem::path(testing::TempDir()) / ("gateway-place-" + std::to_string(::getpid()));
    std::unique_ptr<DataFolder> running = std::make_unique<DataFolder>(folder);
    GatewayChoice choice{.dataFolder = folder};
};

TEST_F(GatewayPlaceTest, isThatOfTheDataFolder)
{
    GatewayPlace const place = placeOf(choice);

    EXPECT_EQ(place.address(), "http://127.0.0.1:8737");
    EXPECT_EQ(place.target, "/mcp");
    EXPECT_EQ(place.key, "zk_folder");
}

// Another user's server may have its port by now, and would get the key.
TEST_F(GatewayPlaceTest, isNotWhereAGatewayWasBeforeItWasKilled)
{
    running.reset();

    EXPECT_NE(failureOf(choice).find("no gateway is running on"), std::string::npos);
    EXPECT_TRUE(std::filesystem::exists(folder / "local-address"));
}

TEST_F(GatewayPlaceTest, namesAConnectionAndSwitches)
{
    choice.connection = "con/1?";
    choice.switches = "width=800&tools=computer";

    EXPECT_EQ(placeOf(choice).target, "/mcp/con%2F1%3F?width=800&tools=computer");
    choice.switches = "a b\r\nHost: evil";
    EXPECT_NE(failureOf(choice).find("cannot stand in an address"), std::string::npos);
}

TEST_F(GatewayPlaceTest, takesTheKeyOfAFileBeforeThatOfTheEnvironment)
{
    ::setenv("ZELVO_API_KEY", "zk_environment", 1);
    EXPECT_EQ(placeOf(choice).key, "zk_environment");
    write("key", "Authorization: Bearer zk_file\r\n");
    choice.keyFile = folder / "key";
    EXPECT_EQ(placeOf(choice).key, "zk_file");
}

// Another gateway must not get the key of this one.
TEST_F(GatewayPlaceTest, needsAKeyForAnotherGateway)
{
    choice.url = "http://gateway.example:99";

    EXPECT_NE(failureOf(choice).find("a key is needed for --gateway"), std::string::npos);
    ::setenv("ZELVO_API_KEY", "zk_environment", 1);
    EXPECT_EQ(placeOf(choice).address(), "http://gateway.example:99");
}

TEST_F(GatewayPlaceTest, readsAddresses)
{
    ::setenv("ZELVO_API_KEY", "k", 1);
    choice.url = "http://[::1]:99";
    EXPECT_EQ(placeOf(choice).host, "::1");
    EXPECT_EQ(placeOf(choice).address(), "http://[::1]:99");
    choice.url = "http://gateway";
    EXPECT_EQ(placeOf(choice).port, "80");
    for (std::string const url : {"ftp://gateway.example", "gateway:80", "http://", "http://me:it@gateway"}) {
        choice.url = url;
        EXPECT_NE(failureOf(choice).find("must be like"), std::string::npos) << url;
    }
}

TEST_F(GatewayPlaceTest, hasTlsWhereTheAddressSaysSo)
{
    ::setenv("ZELVO_API_KEY", "k", 1);
    write("local-address", "https://127.0.0.1:8737\n");
    write("tls-certificate.pem", "the gateway's own");
    EXPECT_TRUE(placeOf(choice).isSecure);
    EXPECT_EQ(placeOf(choice).certificate, "the gateway's own");
    EXPECT_EQ(placeOf(choice).address(), "https://127.0.0.1:8737");

    choice.url = "https://gateway.example"; // Known by its name, not by a file.
    EXPECT_EQ(placeOf(choice).port, "443");
    EXPECT_EQ(placeOf(choice).certificate, "");

    choice.url = "";
    std::filesystem::remove(folder / "tls-certificate.pem");
    EXPECT_NE(failureOf(choice).find("no gateway is running on"), std::string::npos);
}

TEST_F(GatewayPlaceTest, saysWhatIsMissing)
{
    std::filesystem::remove(folder / "api-key");
    EXPECT_NE(failureOf(choice).find("cannot read the key file"), std::string::npos);
    std::filesystem::remove(folder / "local-address");
    EXPECT_NE(failureOf(choice).find("no gateway is running on"), std::string::npos);
}

TEST_F(GatewayPlaceTest, refusesWhatCanBeNoKey)
{
    for (std::string const text : {"", "\n", "two words", "Authorization: Bearer ", "ключ", "a\nb"})
        EXPECT_EQ(keyIn(text), std::nullopt) << text;
    write("key", "two words");
    choice.keyFile = folder / "key";
    std::string const failure = failureOf(choice);
    EXPECT_NE(failure.find("holds no key"), std::string::npos);
    EXPECT_EQ(failure.find("two words"), std::string::npos);
}

} // namespace
} // namespace zelvo::service
