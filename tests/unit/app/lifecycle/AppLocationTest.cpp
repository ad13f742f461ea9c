#include "app/lifecycle/AppLocation.h"

#include "fakes/FakeInstallation.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

using Verdict = AppLocation::Verdict;

AppLocation location()
{
    ProgramPlaces places = FakeInstallation().where;
    places.temporary.emplace_back("/run/user/1000/");
    return AppLocation(places);
}

bool isMisplaced(std::string const& path)
{
    return location().isMisplaced(path);
}

TEST(AppLocation, isMisplacedOnMediaAndInTemporaryFolders)
{
    for (char const* const path : {"/media/ann/STICK/zelvo-agent", "/run/media/ann/STICK/bin/zelvo-agent",
                                   "/mnt/zelvo-agent", "/run/user/1000/doc/5/zelvo-agent", "/tmp/zelvo-agent",
                                   "/tmp/.mount_Zelvo/usr/bin/zelvo-agent", "/var/tmp/a b/zelvo-agent"})
        EXPECT_TRUE(isMisplaced(path)) << path;
}

TEST(AppLocation, isFineAnywhereElse)
{
    for (char const* const path :
         {"/home/ann/Downloads/zelvo-agent", "/home/ann/bin/zelvo-agent", "/srv/zelvo/zelvo-agent",
          "/home/ann/media/zelvo-agent", "/home/ann/tmp/zelvo-agent", "/tmpfs/zelvo-agent", "/media",
          "/run/user/10001/zelvo-agent", "zelvo-agent", ""})
        EXPECT_FALSE(isMisplaced(path)) << path;
}

TEST(AppLocation, isFineForAPackage)
{
    for (char const* const path : {"/usr/bin/zelvo-agent", "/usr/local/bin/zelvo-agent",
                                   "/opt/zelvo/zelvo-agent", "/usr/lib/zelvo/zelvo-agent"})
        EXPECT_FALSE(isMisplaced(path)) << path;
}

TEST(AppLocation, isFineForAPackageWhoseFolderIsOnAMount)
{
    ProgramPlaces places = FakeInstallation().where;
    places.permanent.emplace_back("/mnt/data/opt/"); // /opt is a link to it.

    EXPECT_FALSE(AppLocation(places).isMisplaced("/mnt/data/opt/zelvo/zelvo-agent"));
    EXPECT_TRUE(AppLocation(places).isMisplaced("/mnt/data/other/zelvo-agent"));
}

TEST(AppLocation, isFineForTheInstalledCopyWhereverThatIs)
{
    ProgramPlaces places = FakeInstallation().where;
    places.applicationsPath = "/mnt/homes/ann/.local/share/zelvo-agent/zelvo-agent";

    EXPECT_FALSE(AppLocation(places).isMisplaced(places.applicationsPath));
    EXPECT_TRUE(AppLocation(places).isMisplaced("/mnt/homes/ann/Downloads/zelvo-agent"));
}

TEST(AppLocation, isFineForTheCopyOfMakeRun)
{
    EXPECT_FALSE(isMisplaced("/tmp/zelvo/build/run/bin/zelvo-agent"));
    EXPECT_TRUE(isMisplaced("/tmp/zelvo/build/run/bin/deeper/zelvo-agent"));
    EXPECT_TRUE(isMisplaced("/tmp/zelvo/build/zelvo-agent"));
}

TEST(AppLocation, offersToMoveFromMediaWithNothingInstalled)
{
    EXPECT_EQ(location().verdict("/media/Foo/zelvo-agent", "1.0", std::nullopt), Verdict::offerMove);
}

TEST(AppLocation, opensTheInstalledCopyOfTheSameVersion)
{
    EXPECT_EQ(location().verdict("/run/user/1000/doc/1/zelvo-agent", "1.0", "1.0"),
              Verdict::openInstalledCopy);
    EXPECT_EQ(location().verdict("/media/Foo/zelvo-agent", "1.0.0", "1.0"), Verdict::openInstalledCopy);
}

TEST(AppLocation, comparesVersionsNumberByNumber)
{
    EXPECT_EQ(location().verdict("/media/Foo/zelvo-agent", "2.0", "1.9"), Verdict::offerMove);
    EXPECT_EQ(location().verdict("/media/Foo/zelvo-agent", "2.0", "2.1"), Verdict::openInstalledCopy);
    EXPECT_EQ(location().verdict("/media/Foo/zelvo-agent", "1.9", "1.10"), Verdict::openInstalledCopy);
    EXPECT_EQ(location().verdict("/media/Foo/zelvo-agent", "1.10", "1.9"), Verdict::offerMove);
    EXPECT_EQ(location().verdict("/media/Foo/zelvo-agent", "0", "0"), Verdict::openInstalledCopy);
}

TEST(AppLocation, isFineAtItsPlaceWhateverIsInstalled)
{
    EXPECT_EQ(location().verdict("/home/ann/bin/zelvo-agent", "1.0", "0.1"), Verdict::fine);
    EXPECT_EQ(location().verdict("/usr/bin/zelvo-agent", "1.0", std::nullopt), Verdict::fine);
}

} // namespace
} // namespace zelvo
