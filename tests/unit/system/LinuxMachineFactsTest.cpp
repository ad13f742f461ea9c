#include "platform/linux/system/LinuxMachineFacts.h"

#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <unistd.h>

namespace zelvo {

namespace {

TEST(LinuxMachineFacts, prefersThePrettyHostName)
{
    TemporaryFolder root;
    LinuxMachineFacts facts(root.path, "/");
    char host[256] = {};
    ASSERT_EQ(::gethostname(host, sizeof host - 1), 0);

    EXPECT_EQ(facts.computerName(), host);
    writeFile(root.path / "etc" / "machine-info", "PRETTY_HOSTNAME=\"\"\n");
    EXPECT_EQ(facts.computerName(), host);
    writeFile(root.path / "etc" / "machine-info", "ICON_NAME=computer\nPRETTY_HOSTNAME=\"Анна's Laptop\"\n");
    EXPECT_EQ(facts.computerName(), "Анна's Laptop");
}

TEST(LinuxMachineFacts, makesThreeNumbersOfAVersion)
{
    EXPECT_EQ(LinuxMachineFacts::threeNumbers("12"), "12.0.0");
    EXPECT_EQ(LinuxMachineFacts::threeNumbers("24.04"), "24.4.0");
    EXPECT_EQ(LinuxMachineFacts::threeNumbers("1.2.3.4"), "1.2.3");
    EXPECT_EQ(LinuxMachineFacts::threeNumbers("13.1-rc2"), "13.1.0");
    EXPECT_EQ(LinuxMachineFacts::threeNumbers("20261121"), "20261121.0.0");
    EXPECT_EQ(LinuxMachineFacts::threeNumbers("rolling"), "0.0.0");
    EXPECT_EQ(LinuxMachineFacts::threeNumbers("99999999999"), "0.0.0");
    EXPECT_EQ(LinuxMachineFacts::threeNumbers(""), "0.0.0");
}

TEST(LinuxMachineFacts, readsTheSystemsVersion)
{
    TemporaryFolder root;
    LinuxMachineFacts facts(root.path, "/");

    EXPECT_EQ(facts.osVersion(), "0.0.0");
    writeFile(root.path / "usr" / "lib" / "os-release", "VERSION_ID=\"11\"\n");
    EXPECT_EQ(facts.osVersion(), "11.0.0");
    writeFile(root.path / "etc" / "os-release", "VERSION_ID=12.5\n");
    EXPECT_EQ(facts.osVersion(), "12.5.0");
    writeFile(root.path / "etc" / "os-release",
              "ID=arch\n"); // Without a version; the other file is then ignored.
    EXPECT_EQ(facts.osVersion(), "0.0.0");
}

TEST(LinuxMachineFacts, measuresDiskAndMemory)
{
    TemporaryFolder home;
    LinuxMachineFacts facts("/", home.path);

    auto const resident = facts.residentBytes();
    ASSERT_TRUE(resident);
    EXPECT_GT(*resident, 1u << 20);
    EXPECT_LT(*resident, std::uint64_t(8) << 30);
    auto const disk = std::filesystem::space(home.path);
    auto const free = facts.freeDiskBytes();
    ASSERT_TRUE(free);
    EXPECT_NEAR(static_cast<double>(*free), static_cast<double>(disk.available), 1e9);
    EXPECT_EQ(LinuxMachineFacts("/", "/no/such/folder").freeDiskBytes(), std::nullopt);
    EXPECT_EQ(facts.ownPid(), ::getpid());
}

} // namespace

} // namespace zelvo
