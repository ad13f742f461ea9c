#include "GrantedFolder.h"
#include "platform/portable/files/TemporaryFile.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <grp.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <thread>

namespace zelvo {

namespace {

namespace fs = std::filesystem;

/// Installs a seccomp filter for the calling thread only.
bool takeRules(std::span<sock_filter> rules)
{
    sock_fprog const program{.len = static_cast<unsigned short>(rules.size()), .filter = rules.data()};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

/// Makes openat2 fail with `reason` on the calling thread.
bool refuseOpenat2(int reason)
{
    sock_filter rules[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat2, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<unsigned>(reason)),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    return takeRules(rules);
}

/// Makes unnamed files (O_TMPFILE) fail on the calling thread, as many file systems do.
bool refuseUnnamedFiles()
{
    constexpr unsigned justUnnamed = O_TMPFILE & ~O_DIRECTORY;
    sock_filter rules[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[2])),
        BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, justUnnamed, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EOPNOTSUPP),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    return takeRules(rules);
}

/// Writes a file from a process without privileges, as the user `nobody`; true if that succeeds.
bool writesAsNobody(LinuxFileSystem& machine, fs::path const& folder, std::string const& name)
{
    pid_t const child = ::fork();
    if (child == 0) {
        constexpr unsigned nobody = 65534;
        bool const isNobody = ::setgroups(0, nullptr) == 0 && ::setresgid(nobody, nobody, nobody) == 0 &&
                              ::setresuid(nobody, nobody, nobody) == 0;
        bool const isWritten = isNobody && machine.replace({.folder = folder, .path = name}, "new",
                                                           FileSystem::LinkThere::refused);
        ::_exit(isWritten ? 0 : 1);
    }
    int status = -1;
    return ::waitpid(child, &status, 0) == child && status == 0;
}

struct stat factsOf(fs::path const& file)
{
    struct stat facts{};
    EXPECT_EQ(::stat(file.c_str(), &facts), 0);
    return facts;
}

TEST(LinuxFileSystem, reportsTheKindOfFileAtAPath)
{
    GrantedFolder files;
    writeFile(files.in / "file", "x");
    fs::create_symlink("no where", files.in / "link");

    EXPECT_EQ(files.machine.nodeAt(files.in).kind, FileNode::Kind::folder);
    EXPECT_EQ(files.machine.nodeAt(files.in / "file").kind, FileNode::Kind::other);
    EXPECT_EQ(files.machine.nodeAt(files.in / "gone").kind, FileNode::Kind::missing);
    EXPECT_EQ(files.machine.nodeAt((files.in / "file").native() + '\0').kind, FileNode::Kind::missing);
    FileNode const link = files.machine.nodeAt(files.in / "link");
    EXPECT_EQ(link.kind, FileNode::Kind::link);
    EXPECT_EQ(link.target, "no where");
}

TEST(LinuxFileSystem, knowsTheHomesOfUsers)
{
    LinuxFileSystem machine("/home/of-ours");

    EXPECT_EQ(machine.homeFolder(""), "/home/of-ours");
    EXPECT_EQ(machine.homeFolder("root"), ::getpwnam("root")->pw_dir);
    EXPECT_EQ(machine.homeFolder("no-such-user"), std::nullopt);
    EXPECT_EQ(machine.currentFolder(), fs::current_path().native());
}

TEST(LinuxFileSystem, keepsAnOldFilesPermissionBits)
{
    GrantedFolder files;
    for (mode_t const mode : {0600u, 0640u, 0755u, 0444u}) {
        writeFile(files.in / "file", "old");
        ASSERT_EQ(::chmod((files.in / "file").c_str(), mode), 0);

        files.write(files.in / "file", "new");

        EXPECT_EQ(modeOf(files.in / "file"), mode);
        EXPECT_EQ(contentOf(files.in / "file"), "new");
        fs::remove(files.in / "file");
    }
}

TEST(LinuxFileSystem, doesNotKeepARightToRunAsAnotherUser)
{
    GrantedFolder files;
    writeFile(files.in / "file", "old");
    ASSERT_EQ(::chmod((files.in / "file").c_str(), 06755), 0);

    files.write(files.in / "file", "new");

    EXPECT_EQ(modeOf(files.in / "file"), 0755u);
}

TEST(LinuxFileSystem, keepsAnOldFilesGroup)
{
    GrantedFolder files;
    writeFile(files.in / "file", "old");
    constexpr gid_t other = 4711;
    if (::chown((files.in / "file").c_str(), uid_t(-1), other) != 0)
        GTEST_SKIP() << "no file can be given to a group here";
    ASSERT_EQ(::chmod((files.in / "file").c_str(), 0660), 0);

    files.write(files.in / "file", "new");

    EXPECT_EQ(factsOf(files.in / "file").st_gid, other);
    EXPECT_EQ(modeOf(files.in / "file"), 0660u);
}

/// If the group changes, the new group gets no more rights than everybody.
TEST(LinuxFileSystem, givesNoRightsOfAGroupToAnotherOne)
{
    if (::getuid() != 0)
        GTEST_SKIP() << "only the superuser can be somebody else";
    GrantedFolder files;
    writeFile(files.in / "file", "old");
    ASSERT_EQ(::chmod((files.in / "file").c_str(), 0664), 0);
    ASSERT_EQ(::chmod(files.top.path.c_str(), 0755), 0);
    ASSERT_EQ(::chmod(files.in.c_str(), 0777), 0);

    ASSERT_TRUE(writesAsNobody(files.machine, files.in, "file"));

    EXPECT_EQ(contentOf(files.in / "file"), "new");
    EXPECT_EQ(factsOf(files.in / "file").st_gid, 65534u);
    EXPECT_EQ(modeOf(files.in / "file"), 0644u);
}

/// With an access list, the group bits of the mode are the list's mask. Without the list they would become
/// the group's rights.
TEST(LinuxFileSystem, keepsAnOldFilesAccessList)
{
    // Version 2; then tag, rights and id of the owner, the user 4711, the group, the mask and the others.
    std::array<std::uint16_t, 22> list = {2,      0,      1,  6, 0xFFFF, 0xFFFF, 2,  6, 4711,   0,     4, 0,
                                          0xFFFF, 0xFFFF, 16, 6, 0xFFFF, 0xFFFF, 32, 0, 0xFFFF, 0xFFFF};
    GrantedFolder files;
    fs::path const file = files.in / "file";
    writeFile(file, "old");
    if (::setxattr(file.c_str(), "system.posix_acl_access", list.data(), sizeof list, 0) != 0)
        GTEST_SKIP() << "no access lists here";

    files.write(file, "new");

    std::array<std::uint16_t, 22> kept{};
    EXPECT_EQ(::getxattr(file.c_str(), "system.posix_acl_access", kept.data(), sizeof kept),
              ssize_t(sizeof list));
    EXPECT_EQ(kept, list);
    EXPECT_EQ(modeOf(file), 0660u);
}

TEST(LinuxFileSystem, leavesTheModesOfWhatIsNewToTheUmask)
{
    GrantedFolder files;
    mode_t const before = ::umask(027);

    files.write(files.in / "folder/file", "new");

    ::umask(before);
    EXPECT_EQ(modeOf(files.in / "folder/file"), 0640u);
    EXPECT_EQ(modeOf(files.in / "folder"), 0750u);
}

TEST(LinuxFileSystem, leavesNoTemporaryFile)
{
    GrantedFolder files;

    files.write(files.in / "file", "");
    EXPECT_EQ(files.read(files.in / "file"), "");
    files.write(files.in / "file", "new");
    EXPECT_EQ(files.read(files.in / "file"), "new");

    EXPECT_EQ(GrantedFolder::count(files.in), 1u);
}

/// So nothing remains if the process is killed.
TEST(TemporaryFile, hasNoNameBeforeItIsWhole)
{
    TemporaryFolder top;
    UniqueFd const folder(::open(top.path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!UniqueFd(::openat(folder.get(), ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600)))
        GTEST_SKIP() << "no files without a name here";

    TemporaryFile next(folder.get(), 0640);

    ASSERT_TRUE(next);
    EXPECT_TRUE(next.write("new"));
    EXPECT_EQ(GrantedFolder::count(top.path), 0u);
    EXPECT_TRUE(next.rename("file"));
    EXPECT_EQ(contentOf(top.path / "file"), "new");
    EXPECT_EQ(modeOf(top.path / "file"), 0640u);
    EXPECT_EQ(GrantedFolder::count(top.path), 1u);
}

TEST(TemporaryFile, takesThePlaceOfFilesAndLinksButNotOfFolders)
{
    TemporaryFolder top;
    writeFile(top.path / "file", "old");
    fs::create_symlink("nowhere", top.path / "link");
    writeFile(top.path / "folder/deep", "");
    UniqueFd const folder(::open(top.path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    for (char const* const name : {"file", "link", "folder"}) {
        TemporaryFile next(folder.get(), 0600);
        EXPECT_TRUE(next.write("new"));
        EXPECT_EQ(next.rename(name), name != std::string_view("folder"));
    }
    EXPECT_EQ(contentOf(top.path / "file"), "new");
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(top.path / "link")));
    EXPECT_EQ(GrantedFolder::count(top.path), 3u);
}

TEST(TemporaryFile, isDoneWithAHiddenNameWhereItNeedsOne)
{
    TemporaryFolder top;
    UniqueFd const folder(::open(top.path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    bool isRefused = false;
    std::size_t during = 0;
    std::size_t dropped = 1;
    std::thread sandboxed([&] {
        isRefused = refuseUnnamedFiles();
        TemporaryFile(folder.get(), 0600).write("dropped");
        dropped = GrantedFolder::count(top.path);
        TemporaryFile next(folder.get(), 0600);
        next.write("new");
        during = GrantedFolder::count(top.path);
        next.rename("file");
    });
    sandboxed.join();
    if (!isRefused)
        GTEST_SKIP() << "no seccomp filters here";

    EXPECT_EQ(dropped, 0u);
    EXPECT_EQ(during, 1u);
    EXPECT_EQ(contentOf(top.path / "file"), "new");
    EXPECT_EQ(GrantedFolder::count(top.path), 1u);
}

TEST(LinuxFileSystem, writesANameOfTheGreatestLength)
{
    GrantedFolder files;
    std::string const name(255, 'n');

    EXPECT_EQ(files.writeOutcome(files.in / name), "ok");
    EXPECT_EQ(files.read(files.in / name), "new");
}

/// Like a full disk, for machines where nothing may be mounted.
TEST(LinuxFileSystem, keepsTheOldFileWhenTheNewOneDoesNotFit)
{
    GrantedFolder files;
    writeFile(files.in / "file", "old");
    auto const ignored = std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    rlimit const small{.rlim_cur = 4096, .rlim_max = before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);

    std::string const outcome = files.writeOutcome(files.in / "file", std::string(1u << 20, 'x'));
    std::string const outcomeOfNew = files.writeOutcome(files.in / "other", std::string(1u << 20, 'x'));

    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, ignored);
    EXPECT_EQ(outcome, "File too large");
    EXPECT_EQ(outcomeOfNew, "File too large");
    EXPECT_EQ(contentOf(files.in / "file"), "old");
    EXPECT_EQ(GrantedFolder::count(files.in), 1u);
}

TEST(LinuxFileSystem, carriesTheLargestFileBothWaysAndNoLarger)
{
    GrantedFolder files;
    std::string data(std::size_t(FileAccess::maxBytes), 'x');
    data.front() = 'a';
    data.back() = 'z';

    EXPECT_EQ(files.writeOutcome(files.in / "big", data), "ok");
    EXPECT_TRUE(files.read(files.in / "big") == data);

    fs::resize_file(files.in / "big", std::uintmax_t(FileAccess::maxBytes) + 1);
    EXPECT_EQ(files.readOutcome(files.in / "big"), "invalid_request");
}

TEST(LinuxFileSystem, readsNoMoreThanItIsAskedForOfAFileThatGrows)
{
    GrantedFolder files;
    writeFile(files.in / "file", "12345");
    auto const file = files.machine.open({.folder = files.in, .path = "file"});
    ASSERT_TRUE(file);
    EXPECT_EQ(file->size(), 5u);

    writeFile(files.in / "file", std::string(1u << 20, 'x'));
    EXPECT_EQ(file->read(1000), std::string(1000, 'x'));
}

TEST(LinuxFileSystem, readsWhatIsLeftOfAFileThatShrinks)
{
    GrantedFolder files;
    writeFile(files.in / "file", std::string(1u << 20, 'x'));
    auto const file = files.machine.open({.folder = files.in, .path = "file"});
    ASSERT_TRUE(file);

    fs::resize_file(files.in / "file", 10);
    EXPECT_EQ(file->read(1u << 20), std::string(10, 'x'));
}

TEST(LinuxFileSystem, readsAndWritesWhileAnotherProgramGrowsAndCutsTheFile)
{
    GrantedFolder files;
    fs::path const path = files.in / "file";
    std::atomic<bool> isEnding = false;
    std::thread other([&] {
        while (!isEnding) {
            writeFile(path, std::string(300'000, 'y'));
            writeFile(path, "");
        }
    });
    for (int round = 0; round < 500; ++round) {
        std::string content;
        std::string const outcome = GrantedFolder::outcome([&] { content = files.read(path); });
        EXPECT_TRUE(outcome == "ok" || outcome == "invalid_request") << outcome;
        EXPECT_LE(content.size(), 300'000u);
    }
    isEnding = true;
    other.join();
}

class RefusedOpenat2 : public testing::TestWithParam<int> {};

TEST_P(RefusedOpenat2, isDoneWithoutPartByPart)
{
    std::string inside;
    std::string outside;
    std::string written;
    bool isRefused = false;
    std::thread sandboxed([&] {
        isRefused = refuseOpenat2(GetParam());
        GrantedFolder files;
        writeFile(files.in / "deep/x", "inside");
        writeFile(files.out / "x", "outside");
        fs::create_symlink(files.out, files.in / "link");
        inside = files.read(files.in / "deep/x");
        outside = files.readOutcome(files.in / "link/x");
        written = files.writeOutcome(files.in / "new/er/x");
    });
    sandboxed.join();
    if (!isRefused)
        GTEST_SKIP() << "no seccomp filters here";

    EXPECT_EQ(inside, "inside");
    EXPECT_EQ(outside, "scope_denied");
    EXPECT_EQ(written, "ok");
}

INSTANTIATE_TEST_SUITE_P(Reasons, RefusedOpenat2, testing::Values(ENOSYS, EPERM));

class FolderWalkTest : public testing::TestWithParam<FolderWalk::Method> {};

INSTANTIATE_TEST_SUITE_P(Walks,
                         FolderWalkTest,
                         testing::Values(FolderWalk::Method::inOneStep, FolderWalk::Method::partByPart));

TEST_P(FolderWalkTest, distinguishesLinksFilesAndNothing)
{
    TemporaryFolder top;
    fs::create_directories(top.path / "folder/deep");
    writeFile(top.path / "file", "x");
    fs::create_symlink("folder", top.path / "link");
    UniqueFd const base(::open(top.path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    FolderWalk const walk(GetParam());
    auto const failureOf = [&](std::string const& path) {
        errno = 0;
        return walk.open(base.get(), path) ? 0 : errno;
    };

    EXPECT_EQ(failureOf(""), 0);
    EXPECT_EQ(failureOf("folder/deep"), 0);
    EXPECT_EQ(failureOf("link"), ELOOP);
    EXPECT_EQ(failureOf("link/deep"), ELOOP);
    EXPECT_EQ(failureOf("file"), ENOTDIR);
    EXPECT_EQ(failureOf("file/x"), ENOTDIR);
    EXPECT_EQ(failureOf("none"), ENOENT);
}

TEST_P(FolderWalkTest, makesWhatIsMissingAndNothingBehindALink)
{
    TemporaryFolder top;
    fs::create_directories(top.path / "folder");
    fs::create_symlink("folder", top.path / "link");
    UniqueFd const base(::open(top.path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    FolderWalk const walk(GetParam());

    EXPECT_TRUE(walk.openOrMake(base.get(), "folder/a/b/c"));
    EXPECT_TRUE(fs::is_directory(top.path / "folder/a/b/c"));
    EXPECT_FALSE(walk.openOrMake(base.get(), "link/x"));
    EXPECT_EQ(errno, ELOOP);
    EXPECT_FALSE(fs::exists(top.path / "folder/x"));
}

} // namespace

} // namespace zelvo
