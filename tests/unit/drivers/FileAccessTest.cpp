#include "drivers/FileAccess.h"

#include "base/Hop.h"
#include "fakes/ErrorOf.h"
#include "fakes/FakeFileSystem.h"
#include "fakes/Run.h"

#include <gtest/gtest.h>

namespace zelvo {

namespace {

class FileAccessTest : public testing::Test {
public:
    FileAccessTest()
    {
        files.addFile("/home/me/Documents/a.txt", "content of a");
        files.addFile("/etc/secret", "secret");
        allow({"/home/me/Documents"});
    }

    void allow(std::vector<std::string> roots) { run(io, access.setRoots(std::move(roots))); }
    std::string read(std::string path) { return run(io, access.read(std::move(path))); }
    void write(std::string path, std::string data)
    {
        run(io, access.write(std::move(path), std::move(data)));
    }
    std::optional<AgentError> readError(std::string path)
    {
        return errorOf([&] { read(std::move(path)); });
    }
    std::optional<AgentError> writeError(std::string path)
    {
        return errorOf([&] { write(std::move(path), "new"); });
    }
    /// The errno of a FileFailure; 0 if the call succeeds.
    template <class F>
    static int systemError(F call)
    {
        try {
            call();
        } catch (FileFailure const& failure) {
            return failure.code().value();
        }
        return 0;
    }
    /// True if no file was opened or replaced.
    bool isUntouched() const
    {
        return files.opened.empty() && files.replaced.empty() && files.contentOf("/etc/secret") == "secret";
    }

    asio::io_context io;
    FakeFileSystem files;
    FileAccess access{io.get_executor(), files, {}};
};

TEST_F(FileAccessTest, readsAndWritesInAGrantedFolder)
{
    EXPECT_EQ(read("/home/me/Documents/a.txt"), "content of a");

    write("/home/me/Documents/a.txt", "new");

    EXPECT_EQ(files.contentOf("/home/me/Documents/a.txt"), "new");
}

TEST_F(FileAccessTest, refusesAPrivatePlaceLikeOneThatIsNotGranted)
{
    files.isPrivate = true;

    EXPECT_EQ(readError("/home/me/Documents/a.txt"), AgentError::scopeDenied);
    EXPECT_EQ(writeError("/home/me/Documents/a.txt"), AgentError::scopeDenied);
}

TEST_F(FileAccessTest, refusesAllWithoutRoots)
{
    allow(std::vector<std::string>());

    EXPECT_EQ(readError("/home/me/Documents/a.txt"), AgentError::scopeDenied);
    EXPECT_EQ(writeError("/home/me/Documents/a.txt"), AgentError::scopeDenied);
    EXPECT_EQ(writeError("/new"), AgentError::scopeDenied);
    EXPECT_TRUE(isUntouched());
}

TEST_F(FileAccessTest, beginsWithTheRootsThatItIsGiven)
{
    FileAccess given(io.get_executor(), files, {"/home/me/Documents"});

    EXPECT_EQ(run(io, given.read("/home/me/Documents/a.txt")), "content of a");
}

TEST_F(FileAccessTest, refusesALinkInsideThatLeadsOutside)
{
    files.addLink("/home/me/Documents/link", "/etc/secret");
    files.addLink("/home/me/Documents/folder", "/etc");

    EXPECT_EQ(readError("/home/me/Documents/link"), AgentError::scopeDenied);
    EXPECT_EQ(readError("/home/me/Documents/folder/secret"), AgentError::scopeDenied);
    EXPECT_EQ(writeError("/home/me/Documents/link"), AgentError::scopeDenied);
    EXPECT_EQ(writeError("/home/me/Documents/folder/new"), AgentError::scopeDenied);
    EXPECT_EQ(writeError("/home/me/Documents/folder/new/deep"), AgentError::scopeDenied);
    EXPECT_TRUE(isUntouched());
}

TEST_F(FileAccessTest, allowsALinkOutsideThatLeadsInside)
{
    files.addLink("/tmp/link", "/home/me/Documents/a.txt");
    files.addLink("/tmp/folder", "/home/me/Documents");

    EXPECT_EQ(read("/tmp/link"), "content of a");
    EXPECT_EQ(read("/tmp/folder/a.txt"), "content of a");
    write("/tmp/folder/b.txt", "b");
    EXPECT_EQ(files.contentOf("/home/me/Documents/b.txt"), "b");
}

TEST_F(FileAccessTest, writesWhereALinkLeadsAndKeepsTheLink)
{
    files.addLink("/home/me/Documents/link", "a.txt");

    write("/home/me/Documents/link", "new");

    EXPECT_EQ(files.contentOf("/home/me/Documents/a.txt"), "new");
    EXPECT_EQ(files.contentOf("/home/me/Documents/link"), "a.txt");
}

TEST_F(FileAccessTest, judgesThePathThatIsLeftWithoutDots)
{
    EXPECT_EQ(readError("/home/me/Documents/../../../etc/secret"), AgentError::scopeDenied);
    EXPECT_EQ(writeError("/home/me/Documents/../x"), AgentError::scopeDenied);
    EXPECT_EQ(read("/etc/../home/me//Documents/./no/../a.txt"), "content of a");
}

TEST_F(FileAccessTest, takesDotsAwayBeforeLinksAreFollowed)
{
    files.addLink("/home/me/Documents/folder", "/etc");

    // As text this is Documents/a.txt; through the link it would be "/a.txt".
    EXPECT_EQ(read("/home/me/Documents/folder/../a.txt"), "content of a");
}

TEST_F(FileAccessTest, writesANewFileInANewFolder)
{
    write("/home/me/Documents/new/deep/b.txt", "b");

    EXPECT_EQ(files.contentOf("/home/me/Documents/new/deep/b.txt"), "b");
}

TEST_F(FileAccessTest, passesTheRootItselfAndLeavesTheFailureToTheSystem)
{
    EXPECT_EQ(systemError([&] { read("/home/me/Documents"); }), EISDIR);
    EXPECT_EQ(systemError([&] { write("/home/me/Documents/", "x"); }), EISDIR);
}

TEST_F(FileAccessTest, leavesAFolderToTheSystem)
{
    files.addFolder("/home/me/Documents/folder");

    EXPECT_EQ(systemError([&] { read("/home/me/Documents/folder"); }), EISDIR);
}

TEST_F(FileAccessTest, expandsATilde)
{
    files.homes["bob"] = "/home/bob";
    files.addFile("/home/bob/b.txt", "of bob");

    EXPECT_EQ(read("~/Documents/a.txt"), "content of a");
    EXPECT_EQ(readError("~bob/b.txt"), AgentError::scopeDenied);
    allow({"/home/bob"});
    EXPECT_EQ(read("~bob/b.txt"), "of bob");
}

TEST_F(FileAccessTest, takesTheTildeOfAnUnknownUserAsAName)
{
    files.current = "/home/me/Documents";
    files.addFile("/home/me/Documents/~nobody/x", "named so");

    EXPECT_EQ(read("~nobody/x"), "named so");
}

TEST_F(FileAccessTest, countsARelativePathFromTheCurrentFolder)
{
    EXPECT_EQ(readError("a.txt"), AgentError::invalidRequest);
    EXPECT_EQ(readError("etc/secret"), AgentError::scopeDenied);
    EXPECT_EQ(writeError(""), AgentError::scopeDenied);

    files.current = "/home/me/Documents";
    EXPECT_EQ(read("a.txt"), "content of a");
    EXPECT_EQ(readError("../../../etc/secret"), AgentError::scopeDenied);
}

TEST_F(FileAccessTest, refusesANeighbourOfALikeName)
{
    files.addFile("/home/me/Documents2/x", "x");

    EXPECT_EQ(readError("/home/me/Documents2/x"), AgentError::scopeDenied);
    EXPECT_EQ(writeError("/home/me/Documents2/new"), AgentError::scopeDenied);
    EXPECT_EQ(writeError("/home/me/Documents2"), AgentError::scopeDenied);
}

TEST_F(FileAccessTest, isCaseSensitive)
{
    files.addFile("/home/me/documents/x", "x");

    EXPECT_EQ(readError("/home/me/documents/x"), AgentError::scopeDenied);
}

TEST_F(FileAccessTest, saysThatAFileToReadIsNotThereBeforeItJudges)
{
    EXPECT_EQ(readError("/home/me/Documents/no"), AgentError::invalidRequest);
    EXPECT_EQ(readError("/nowhere/at/all"), AgentError::invalidRequest);
    files.addLink("/home/me/Documents/dangling", "/etc/gone");
    EXPECT_EQ(readError("/home/me/Documents/dangling"), AgentError::invalidRequest);
}

TEST_F(FileAccessTest, replacesALinkThatLeadsNowhere)
{
    files.addLink("/home/me/Documents/dangling", "/etc/gone");

    write("/home/me/Documents/dangling", "new");

    EXPECT_EQ(files.contentOf("/home/me/Documents/dangling"), "new");
    EXPECT_FALSE(files.contentOf("/etc/gone"));
}

TEST_F(FileAccessTest, refusesAFolderThatIsALinkToNowhereOutside)
{
    files.addLink("/home/me/Documents/dangling", "/etc/gone");

    EXPECT_EQ(writeError("/home/me/Documents/dangling/x"), AgentError::scopeDenied);
    EXPECT_FALSE(files.contentOf("/etc/gone"));
}

TEST_F(FileAccessTest, followsTheLinksOfARootAnewAtEachCall)
{
    files.addLink("/granted", "/home/me/Documents");
    allow({"/granted"});
    EXPECT_EQ(read("/granted/a.txt"), "content of a");
    EXPECT_EQ(read("/home/me/Documents/a.txt"), "content of a");

    files.addFile("/other/a.txt", "other");
    files.addLink("/granted", "/other");

    EXPECT_EQ(read("/granted/a.txt"), "other");
    EXPECT_EQ(readError("/home/me/Documents/a.txt"), AgentError::scopeDenied);
}

TEST_F(FileAccessTest, takesTheFirstRootThatHoldsThePlace)
{
    files.addFile("/home/me/Documents/in/b", "b");
    allow({"/nothing", "/home/me/Documents/in", "/home/me/Documents"});

    EXPECT_EQ(read("/home/me/Documents/in/b"), "b");
    EXPECT_EQ(files.opened.back(), (PlaceInFolder{"/home/me/Documents/in", "b"}));
    EXPECT_EQ(read("/home/me/Documents/a.txt"), "content of a");
    EXPECT_EQ(files.opened.back(), (PlaceInFolder{"/home/me/Documents", "a.txt"}));
}

TEST_F(FileAccessTest, recreatesAMissingRoot)
{
    allow({"/home/me/Gone"});

    EXPECT_EQ(readError("/home/me/Gone/x"), AgentError::invalidRequest);
    write("/home/me/Gone/x", "x");
    EXPECT_EQ(read("/home/me/Gone/x"), "x");
    EXPECT_EQ(writeError("/home/me/Gone2"), AgentError::scopeDenied);
}

TEST_F(FileAccessTest, reachesNothingThroughTheTopAsARoot)
{
    allow({"/"});

    EXPECT_EQ(readError("/etc/secret"), AgentError::scopeDenied);
    EXPECT_EQ(writeError("/etc/new"), AgentError::scopeDenied);
    EXPECT_EQ(systemError([&] { read("/"); }), EISDIR);
}

TEST_F(FileAccessTest, refusesAPathWithANul)
{
    std::string const path = std::string("/home/me/Documents/a.txt\0.png", 29);

    EXPECT_EQ(readError(path), AgentError::invalidRequest);
    EXPECT_EQ(writeError(path), AgentError::invalidRequest);
    EXPECT_TRUE(isUntouched());
}

TEST_F(FileAccessTest, refusesAPathOfAMegabyteWithoutLookingAtIt)
{
    std::string path = "/home/me/Documents";
    for (int i = 0; i < 500'000; ++i)
        path += "/x";
    files.looked.clear();

    EXPECT_EQ(readError(path), AgentError::invalidRequest);
    EXPECT_EQ(writeError(path), AgentError::invalidRequest);
    EXPECT_TRUE(files.looked.empty());
}

TEST_F(FileAccessTest, passesAFailureOfTheSystemOnUnchanged)
{
    files.failure = EIO;

    EXPECT_EQ(systemError([&] { read("/home/me/Documents/a.txt"); }), EIO);
    EXPECT_EQ(systemError([&] { write("/home/me/Documents/a.txt", "x"); }), EIO);
}

TEST_F(FileAccessTest, writesExactlyTheMostBytesAndNotOneMore)
{
    std::string data(std::size_t(FileAccess::maxBytes), 'x');
    write("/home/me/Documents/big", data);
    EXPECT_EQ(files.contentOf("/home/me/Documents/big")->size(), 104'857'600u);
    EXPECT_EQ(read("/home/me/Documents/big").size(), 104'857'600u);

    files.looked.clear();
    data += 'x';
    EXPECT_EQ(errorOf([&] { write("/home/me/Documents/big2", std::move(data)); }),
              AgentError::invalidRequest);
    EXPECT_TRUE(files.looked.empty()); // Refused before the path was resolved.
    EXPECT_FALSE(files.contentOf("/home/me/Documents/big2"));
}

TEST_F(FileAccessTest, saysTooLargeBeforeItSaysDenied)
{
    std::string data(std::size_t(FileAccess::maxBytes) + 1, 'x');

    EXPECT_EQ(errorOf([&] { write("/etc/secret", std::move(data)); }), AgentError::invalidRequest);
}

TEST_F(FileAccessTest, refusesAFileThatSaysItIsTooLarge)
{
    files.toldSize = std::uint64_t(FileAccess::maxBytes) + 1;

    EXPECT_EQ(readError("/home/me/Documents/a.txt"), AgentError::invalidRequest);

    files.toldSize = std::uint64_t(FileAccess::maxBytes);
    EXPECT_EQ(read("/home/me/Documents/a.txt"), "content of a");
}

TEST_F(FileAccessTest, readsAFileWhoseSizeIsNotKnown)
{
    files.tellsSize = false;

    EXPECT_EQ(read("/home/me/Documents/a.txt"), "content of a");
}

TEST_F(FileAccessTest, refusesAFileThatGrewPastTheLimitWhileItWasRead)
{
    files.addFile("/home/me/Documents/grows", std::string(std::size_t(FileAccess::maxBytes) + 1, 'x'));
    files.toldSize = 5;

    EXPECT_EQ(readError("/home/me/Documents/grows"), AgentError::invalidRequest);
}

TEST_F(FileAccessTest, looksAgainWhenAPlaceWasSwappedForALink)
{
    files.addFolder("/home/me/Documents/folder");
    files.addFile("/home/me/Documents/folder/x", "inside");
    files.onUse = [this] { files.addLink("/home/me/Documents/folder", "/etc"); };
    files.addFile("/etc/x", "outside");

    EXPECT_EQ(readError("/home/me/Documents/folder/x"), AgentError::scopeDenied);
    EXPECT_EQ(files.opened.size(), 1u); // The second check found the link.
}

TEST_F(FileAccessTest, findsWhatWasSwappedInsideTheFolder)
{
    files.addFile("/home/me/Documents/b.txt", "content of b");
    files.onUse = [this] { files.addLink("/home/me/Documents/a.txt", "b.txt"); };

    EXPECT_EQ(read("/home/me/Documents/a.txt"), "content of b");
}

TEST_F(FileAccessTest, refusesAPlaceThatIsSwappedWithoutEnd)
{
    files.addFile("/home/me/Documents/b.txt", "content of b");
    int uses = 0;
    files.onUse = [&] {
        // A file at the check, a link at the open.
        files.nodes.erase("/home/me/Documents/a" + std::to_string(uses));
        ++uses;
        files.addFile("/home/me/Documents/a" + std::to_string(uses), "");
        files.addLink("/home/me/Documents/s", "a" + std::to_string(uses));
    };
    files.addFile("/home/me/Documents/a0", "");
    files.addLink("/home/me/Documents/s", "a0");

    EXPECT_EQ(readError("/home/me/Documents/s"), AgentError::scopeDenied);
    EXPECT_EQ(uses, 8);
}

TEST_F(FileAccessTest, writesOverNoLinkThatCameAfterTheJudging)
{
    files.onUse = [this] { files.addLink("/home/me/Documents/a.txt", "/etc/secret"); };

    EXPECT_EQ(writeError("/home/me/Documents/a.txt"), AgentError::scopeDenied);
    EXPECT_EQ(files.contentOf("/etc/secret"), "secret");
}

TEST_F(FileAccessTest, takesTheNewestListThatIsReadInItsTurn)
{
    run(io, access.setRootsFrom([] { return std::vector<std::string>{"/etc"}; }));

    EXPECT_EQ(read("/etc/secret"), "secret");
    EXPECT_EQ(readError("/home/me/Documents/a.txt"), AgentError::scopeDenied);
}

TEST_F(FileAccessTest, reportsTheKindsOfFailureOnTheWire)
{
    EXPECT_EQ(rawValue(*readError("/etc/secret")), "scope_denied");
    EXPECT_EQ(defaultMessage(*readError("/etc/secret")),
              "The connection does not have the required permission");
    EXPECT_EQ(rawValue(*readError("/etc/no")), "invalid_request");
}

} // namespace

} // namespace zelvo
