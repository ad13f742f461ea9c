#include "platform/portable/settings/FileInformationDictionary.h"

#include "TemporaryFolder.h"

#include <gtest/gtest.h>

namespace zelvo {

namespace {

TEST(FileInformationDictionary, givesTexts)
{
    TemporaryFolder folder;
    writeFile(folder.path / "Info.json", R"({"ZelvoGatewayURL": "ws://localhost:1", "number": 1})");
    FileInformationDictionary const information(folder.path / "Info.json");

    EXPECT_EQ(information.text("ZelvoGatewayURL"), "ws://localhost:1");
    EXPECT_EQ(information.text("number"), std::nullopt);
    EXPECT_EQ(information.text("absent"), std::nullopt);
}

TEST(FileInformationDictionary, isEmptyWithoutAUsableFile)
{
    TemporaryFolder folder;
    writeFile(folder.path / "list", "[]");
    writeFile(folder.path / "broken", "{\"a\": ");

    EXPECT_EQ(FileInformationDictionary(folder.path / "list").text("a"), std::nullopt);
    EXPECT_EQ(FileInformationDictionary(folder.path / "broken").text("a"), std::nullopt);
    EXPECT_EQ(FileInformationDictionary(folder.path / "absent").text("a"), std::nullopt);
    FileInformationDictionary const own; // For this test's executable, which has no Info.json.
    EXPECT_EQ(own.text("ZelvoGatewayURL"), std::nullopt);
}

TEST(FileInformationDictionary, takesOnlyAddressesFromTheAdministratorsFile)
{
    TemporaryFolder folder;
    writeFile(folder.path / "packaged",
              R"({"ZelvoGatewayURL": "wss://package", "ZelvoConsoleURL": "https://package",
                  "CFBundleShortVersionString": "2.0"})");
    writeFile(
        folder.path / "own",
        R"({"ZelvoGatewayURL": "wss://own", "CFBundleShortVersionString": "1.0", "SUFeedURL": "https://own"})");
    FileInformationDictionary const information(folder.path / "packaged", folder.path / "own");

    EXPECT_EQ(information.text("ZelvoGatewayURL"), "wss://own");
    EXPECT_EQ(information.text("ZelvoConsoleURL"), "https://package");
    EXPECT_EQ(information.text("CFBundleShortVersionString"), "2.0");
    EXPECT_EQ(information.text("SUFeedURL"), std::nullopt);
}

TEST(FileInformationDictionary, needsNoAdministratorsFile)
{
    TemporaryFolder folder;
    writeFile(folder.path / "packaged", R"({"ZelvoGatewayURL": "wss://package"})");
    writeFile(folder.path / "broken", R"({"ZelvoGatewayURL": )");

    for (auto const& other : {folder.path / "absent", folder.path / "broken", std::filesystem::path()})
        EXPECT_EQ(FileInformationDictionary(folder.path / "packaged", other).text("ZelvoGatewayURL"),
                  "wss://package");
}

TEST(FileInformationDictionary, looksBesideTheExecutableFirst)
{
    TemporaryFolder folder;
    auto const shared = folder.path / "share" / "zelvo-agent" / "Info.json";
    writeFile(shared, "{}");
    EXPECT_EQ(FileInformationDictionary::fileFor(folder.path / "bin"), shared);

    writeFile(folder.path / "bin" / "Info.json", "{}");
    EXPECT_EQ(FileInformationDictionary::fileFor(folder.path / "bin"), folder.path / "bin" / "Info.json");
}

} // namespace

} // namespace zelvo
