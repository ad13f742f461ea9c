#include "platform/linux/system/AssignmentFile.h"

#include "TemporaryFolder.h"

#include <gtest/gtest.h>

namespace zelvo {

namespace {

TEST(AssignmentFile, readsPlainAndQuotedValues)
{
    std::string const text =
        "NAME=\"Debian GNU/Linux\"\n# VERSION_ID=\"1\"\nVERSION_ID='12'\r\n  ID=debian  \nEMPTY=";

    EXPECT_EQ(assignedValue(text, "NAME"), "Debian GNU/Linux");
    EXPECT_EQ(assignedValue(text, "VERSION_ID"), "12");
    EXPECT_EQ(assignedValue(text, "ID"), "debian");
    EXPECT_EQ(assignedValue(text, "EMPTY"), "");
    EXPECT_EQ(assignedValue(text, "VERSION"), std::nullopt);
}

TEST(AssignmentFile, undoesEscapesAndTakesTheLastAssignment)
{
    EXPECT_EQ(assignedValue(R"(A="Ann\"s \$ box \\")", "A"), R"(Ann"s $ box \)");
    EXPECT_EQ(assignedValue(R"(A='back\slash')", "A"), R"(back\slash)");
    EXPECT_EQ(assignedValue(R"(A="Анна"'s)", "A"), std::nullopt);
    EXPECT_EQ(assignedValue("A=1\nA=2\n", "A"), "2");
    EXPECT_EQ(assignedValue("", "A"), std::nullopt);
    EXPECT_EQ(assignedValue("\n\n=\nA", "A"), std::nullopt);
}

TEST(AssignmentFile, isEmptyForAMissingOrHugeFile)
{
    TemporaryFolder folder;
    writeFile(folder.path / "huge", "A=1\n" + std::string(1 << 20, '#'));

    EXPECT_EQ(assignedValueIn(folder.path / "absent", "A"), std::nullopt);
    EXPECT_EQ(assignedValueIn(folder.path / "huge", "A"), std::nullopt);
}

} // namespace

} // namespace zelvo
