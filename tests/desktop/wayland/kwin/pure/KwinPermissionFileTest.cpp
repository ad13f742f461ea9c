#include "platform/linux/wayland/kwin/KwinPermissionFile.h"

#include "unit/system/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace zelvo {

namespace {

/// The folders "applications" of a person and of the system, and two programs.
class KwinEntryName : public testing::Test {
protected:
    void SetUp() override
    {
        for (auto const& program : {own, other})
            writeFile(program, "");
    }
    std::string textFor(std::filesystem::path const& program)
    {
        return KwinPermissionFile(entries, program).text();
    }
    std::optional<std::string> name() { return KwinPermissionFile(entries, own).nameIn({ours, systems}); }

    TemporaryFolder folder;
    std::filesystem::path own = folder.path / "own";
    std::filesystem::path other = folder.path / "other";
    std::filesystem::path ours = folder.path / "home";
    std::filesystem::path systems = folder.path / "usr";
    DesktopEntries entries{{}};
};

TEST_F(KwinEntryName, isTheUsualOneForTheProgramItself)
{
    EXPECT_EQ(name(), KwinPermissionFile::fileName);
    writeFile(ours / KwinPermissionFile::fileName, textFor(own));
    EXPECT_EQ(name(), KwinPermissionFile::fileName);
}

TEST_F(KwinEntryName, replacesAndHidesNoOtherProgram)
{
    writeFile(systems / KwinPermissionFile::fileName, textFor(other));
    EXPECT_EQ(name(), "dev.zelvo.agent.kwin-2.desktop");
    writeFile(ours / "dev.zelvo.agent.kwin-2.desktop", textFor(other));
    EXPECT_EQ(name(), "dev.zelvo.agent.kwin-3.desktop");
}

TEST_F(KwinEntryName, replacesThatOfARemovedProgram)
{
    writeFile(ours / KwinPermissionFile::fileName, textFor(folder.path / "removed"));
    EXPECT_EQ(name(), KwinPermissionFile::fileName);
}

} // namespace

} // namespace zelvo
