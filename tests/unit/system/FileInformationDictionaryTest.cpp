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
