#include "GrantedFolder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>

namespace zelvo {

namespace {

namespace fs = std::filesystem;

/// Every attack with both methods of opening a folder.
class PathAttacks : public testing::TestWithParam<FolderWalk::Method> {
public:
    PathAttacks()
    {
        writeFile(files.in / "a.txt", "inside");
        writeFile(files.out / "secret", "outside");
    }
    ~PathAttacks() override
    {
        EXPECT_EQ(contentOf(files.out / "secret"), "outside");
        EXPECT_EQ(GrantedFolder::count(files.out), namesOutside);
    }

    GrantedFolder files{GetParam()};
    std::size_t namesOutside = 1;
};

INSTANTIATE_TEST_SUITE_P(Walks,
                         PathAttacks,
                         testing::Values(FolderWalk::Method::inOneStep, FolderWalk::Method::partByPart));

TEST_P(PathAttacks, dotsAndDoubledSlashes)
{
    EXPECT_EQ(files.readOutcome(files.in / "../out/secret"), "scope_denied");
    EXPECT_EQ(files.readOutcome(files.in.native() + "//..//out///secret"), "scope_denied");
    EXPECT_EQ(files.readOutcome(files.in.native() + "/./../out/secret"), "scope_denied");
    EXPECT_EQ(files.writeOutcome(files.in / "../out/new"), "scope_denied");
    EXPECT_EQ(files.writeOutcome(files.in / "none/../../out/new"), "scope_denied");
    EXPECT_EQ(files.read(files.in.native() + "//none/..///a.txt"), "inside");
}

TEST_P(PathAttacks, tildes)
{
    EXPECT_EQ(files.read("~/in/a.txt"), "inside");
    EXPECT_EQ(files.readOutcome("~/out/secret"), "scope_denied");
    EXPECT_EQ(files.readOutcome("~/in/../out/secret"), "scope_denied");
    EXPECT_EQ(files.writeOutcome("~root/zelvo-test-new"), "scope_denied");
    EXPECT_EQ(files.readOutcome("~no-such-user/x"), "invalid_request");
}

TEST_P(PathAttacks, linksInsideThatLeadOutside)
{
    fs::create_symlink(files.out / "secret", files.in / "file");
    fs::create_symlink("../out", files.in / "folder");
    fs::create_symlink("folder", files.in / "twice");
    fs::create_symlink("/", files.in / "top");

    for (char const* const name : {"file", "folder/secret", "twice/secret"}) {
        EXPECT_EQ(files.readOutcome(files.in / name), "scope_denied") << name;
        EXPECT_EQ(files.writeOutcome(files.in / name), "scope_denied") << name;
    }
    EXPECT_EQ(files.readOutcome(files.in / "top/etc/passwd"), "scope_denied");
    EXPECT_EQ(files.writeOutcome(files.in / "twice/new"), "scope_denied");
    EXPECT_EQ(files.writeOutcome(files.in / "twice/new/deep/er"), "scope_denied");
}

TEST_P(PathAttacks, linksThatLeadInside)
{
    fs::create_symlink(files.in / "a.txt", files.out / "link");
    fs::create_symlink("a.txt", files.in / "link");
    namesOutside = 2;

    EXPECT_EQ(files.read(files.out / "link"), "inside");
    files.write(files.in / "link", "new");
    EXPECT_EQ(contentOf(files.in / "a.txt"), "new");
    files.write(files.out / "link", "newer");
    EXPECT_EQ(contentOf(files.in / "a.txt"), "newer");
    EXPECT_TRUE(fs::is_symlink(files.in / "link"));
    EXPECT_TRUE(fs::is_symlink(files.out / "link"));
}

TEST_P(PathAttacks, linksToNowhere)
{
    fs::create_symlink(files.out / "gone", files.in / "file");
    fs::create_symlink(files.out / "none", files.in / "folder");
    fs::create_symlink("circle", files.in / "circle");

    EXPECT_EQ(files.readOutcome(files.in / "file"), "invalid_request");
    EXPECT_EQ(files.readOutcome(files.in / "circle"), "invalid_request");
    EXPECT_EQ(files.writeOutcome(files.in / "folder/x"), "scope_denied");
    EXPECT_EQ(files.writeOutcome(files.in / "circle/x"), "scope_denied");
    EXPECT_EQ(files.writeOutcome(files.in / "file"), "ok"); // A new file replaces the link itself.
    EXPECT_FALSE(fs::is_symlink(files.in / "file"));
    EXPECT_EQ(files.read(files.in / "file"), "new");
}

TEST_P(PathAttacks, devicesPipesAndSocketsFailAtOnce)
{
    ASSERT_EQ(::mkfifo((files.in / "pipe").c_str(), 0600), 0);
    int const socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    (files.in / "socket").native().copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(socket, reinterpret_cast<sockaddr const*>(&address), sizeof address), 0);
    bool const hasDevice = ::mknod((files.in / "device").c_str(), S_IFCHR | 0600, makedev(1, 5)) == 0;

    for (std::string const name : {"pipe", "socket", "device"}) {
        if (name == "device" && !hasDevice)
            continue; // Creating a device needs root.
        EXPECT_EQ(files.readOutcome(files.in / name), "No such device or address") << name;
        EXPECT_EQ(files.writeOutcome(files.in / name), "No such device or address") << name;
        EXPECT_FALSE(fs::is_regular_file(files.in / name)) << name;
    }
    ::close(socket);
}

TEST_P(PathAttacks, processFilesThatLeadElsewhere)
{
    int const secret = ::open((files.out / "secret").c_str(), O_RDONLY | O_CLOEXEC);
    std::string const link = "/proc/self/fd/" + std::to_string(secret);
    int pipes[2];
    ASSERT_EQ(::pipe2(pipes, O_CLOEXEC), 0);

    EXPECT_EQ(files.readOutcome(link), "scope_denied");
    EXPECT_EQ(files.writeOutcome(link), "scope_denied");
    EXPECT_EQ(files.readOutcome("/proc/self/fd/" + std::to_string(pipes[0])), "invalid_request");
    EXPECT_EQ(files.readOutcome("/proc/self/root" + (files.out / "secret").native()), "scope_denied");
    EXPECT_EQ(files.readOutcome("/proc/self/root/.." + (files.out / "secret").native()), "invalid_request");
    EXPECT_EQ(files.readOutcome("/proc/self/cwd/../../../../../.." + (files.out / "secret").native()),
              "scope_denied");
    EXPECT_EQ(files.readOutcome("/proc/self/environ"), "scope_denied");
    EXPECT_EQ(files.read("/proc/self/root" + (files.in / "a.txt").native()), "inside");

    fs::create_symlink(link, files.in / "descriptor");
    EXPECT_EQ(files.readOutcome(files.in / "descriptor"), "scope_denied");
    ::close(secret);
    ::close(pipes[0]);
    ::close(pipes[1]);
}

TEST_P(PathAttacks, aGrantedProcessFolderLeadsNowhereElse)
{
    run(files.io, files.access.setRoots({"/proc"}));
    int const secret = ::open((files.out / "secret").c_str(), O_RDONLY | O_CLOEXEC);

    EXPECT_EQ(files.readOutcome("/proc/self/fd/" + std::to_string(secret)), "scope_denied");
    EXPECT_EQ(files.readOutcome("/proc/self/root/etc/passwd"), "scope_denied");
    EXPECT_FALSE(files.read("/proc/self/stat").empty()); // Although its reported size is 0.
    ::close(secret);
}

TEST_P(PathAttacks, aMagicLinkIsNotWalkedEvenWhenItIsTakenForAFolder)
{
    std::string const folder = "self/root" + files.out.native();

    EXPECT_EQ(files.machine.open({.folder = "/proc", .path = folder + "/secret"}), nullptr);
    EXPECT_FALSE(files.machine.replace({.folder = "/proc", .path = folder + "/new"}, "new",
                                       FileSystem::LinkThere::replaced));
}

TEST_P(PathAttacks, namesThatAreNotUtf8)
{
    writeFile(files.in / "b\xff", "odd");

    EXPECT_EQ(files.read(files.in / "b\xff"), "odd"); // Names are compared byte by byte.
    EXPECT_EQ(files.readOutcome(files.in / "b\xef\xbf\xbd"), "invalid_request");
}

TEST_P(PathAttacks, pathsThatAreNone)
{
    std::string const cut = (files.in / "a.txt").native() + std::string("\0.png", 5);

    EXPECT_EQ(files.readOutcome(cut), "invalid_request");
    EXPECT_EQ(files.writeOutcome(cut), "invalid_request");
    EXPECT_EQ(files.readOutcome(""), "scope_denied"); // The current folder.
    EXPECT_EQ(files.writeOutcome(""), "scope_denied");
    EXPECT_EQ(contentOf(files.in / "a.txt"), "inside");
}

TEST_P(PathAttacks, pathsThatAreTooLong)
{
    std::string const name(10'000, 'x');
    std::string deep = files.in.native();
    for (int i = 0; i < 5'000; ++i)
        deep += "/x";

    EXPECT_EQ(files.readOutcome(files.in / name), "invalid_request");
    EXPECT_EQ(files.writeOutcome(files.in / name), "File name too long");
    EXPECT_EQ(files.readOutcome(deep), "invalid_request");
    EXPECT_EQ(files.writeOutcome(deep), "File name too long");
    EXPECT_EQ(files.readOutcome("/" + name), "invalid_request");
    EXPECT_EQ(files.writeOutcome("/" + name), "scope_denied");
    EXPECT_EQ(GrantedFolder::count(files.in), 1u);
}

TEST_P(PathAttacks, rootsThatAreLinksNestedOrMissing)
{
    fs::create_symlink(files.in, files.top.path / "link");
    run(files.io, files.access.setRoots({files.top.path / "gone", files.top.path / "link"}));

    EXPECT_EQ(files.read(files.in / "a.txt"), "inside");
    EXPECT_EQ(files.read(files.top.path / "link/a.txt"), "inside");
    EXPECT_EQ(files.readOutcome(files.top.path / "link/../out/secret"), "scope_denied");
    EXPECT_EQ(files.readOutcome(files.top.path / "gone/x"), "invalid_request");
    EXPECT_EQ(files.writeOutcome(files.top.path / "gone/deep/x"), "ok");
    EXPECT_EQ(files.read(files.top.path / "gone/deep/x"), "new");

    fs::remove(files.top.path / "link");
    fs::create_symlink("gone", files.top.path / "link");
    EXPECT_EQ(files.readOutcome(files.in / "a.txt"), "scope_denied");
}

TEST_P(PathAttacks, theTopAsARoot)
{
    run(files.io, files.access.setRoots(std::vector<std::string>{"/"}));

    EXPECT_EQ(files.readOutcome(files.in / "a.txt"), "scope_denied");
    EXPECT_EQ(files.writeOutcome(files.out / "new"), "scope_denied");
}

TEST_P(PathAttacks, neighboursAndCase)
{
    writeFile(files.top.path / "in2" / "x", "x");
    writeFile(files.top.path / "IN" / "x", "x");

    EXPECT_EQ(files.readOutcome(files.top.path / "in2/x"), "scope_denied");
    EXPECT_EQ(files.readOutcome(files.top.path / "IN/x"), "scope_denied");
    EXPECT_EQ(files.writeOutcome(files.top.path / "in2/y"), "scope_denied");
}

TEST_P(PathAttacks, foldersAsTargets)
{
    fs::create_directories(files.in / "folder");

    EXPECT_EQ(files.readOutcome(files.in), "Is a directory");
    EXPECT_EQ(files.writeOutcome(files.in), "Is a directory");
    EXPECT_EQ(files.readOutcome(files.in / "folder"), "Is a directory");
    EXPECT_EQ(files.writeOutcome(files.in / "folder"), "Is a directory");
    EXPECT_EQ(files.readOutcome(files.in / "a.txt/x"), "invalid_request");
    EXPECT_EQ(files.writeOutcome(files.in / "a.txt/x"), "Not a directory");
    EXPECT_EQ(files.writeOutcome(files.in / "a.txt/x/y"), "Not a directory");
}

TEST_P(PathAttacks, hardLinksAreReadAsTheFileThatTheyAreAndCutByWriting)
{
    fs::create_hard_link(files.out / "secret", files.in / "second");

    EXPECT_EQ(files.read(files.in / "second"), "outside");
    files.write(files.in / "second", "new"); // The other name keeps its content.

    EXPECT_EQ(contentOf(files.in / "second"), "new");
}

TEST_P(PathAttacks, aMountedFileSystemInsideIsInside)
{
    fs::create_directories(files.in / "mounted");
    if (::mount("none", (files.in / "mounted").c_str(), "tmpfs", 0, "size=1m") != 0)
        GTEST_SKIP() << "mounting needs root";

    EXPECT_EQ(files.writeOutcome(files.in / "mounted/deep/x"), "ok");
    EXPECT_EQ(files.readOutcome(files.in / "mounted/deep/x"), "ok");

    // A full disk: the old file stays intact and nothing remains beside it.
    EXPECT_EQ(files.writeOutcome(files.in / "mounted/deep/x", std::string(2u << 20, 'y')),
              "No space left on device");
    EXPECT_EQ(files.read(files.in / "mounted/deep/x"), "new");
    EXPECT_EQ(GrantedFolder::count(files.in / "mounted/deep"), 1u);
    EXPECT_EQ(::umount2((files.in / "mounted").c_str(), MNT_DETACH), 0);
}

} // namespace

} // namespace zelvo
