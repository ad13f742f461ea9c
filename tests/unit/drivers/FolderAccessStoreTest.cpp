#include "drivers/FolderAccessStore.h"

#include "fakes/ErrorOf.h"
#include "fakes/FakePlatform.h"

#include <gtest/gtest.h>

namespace zelvo {

namespace {

constexpr std::string_view key = "dev.zelvo.fileRoots";

using Folders = std::vector<std::string>;

class FolderAccessStoreTest : public testing::Test {
public:
    FolderAccessStoreTest()
    {
        platform.fileSystem.addFile("/a/x", "of a");
        platform.fileSystem.addFile("/b/x", "of b");
    }

    Folders roots() { return FolderAccessStore::roots(platform.settings, platform.fileSystem); }
    void setStored(std::string content) { platform.settings.setBytes(key, std::move(content)); }
    std::string stored() { return platform.settings.contents[std::string(key)]; }
    bool add(std::string folder) { return run(platform.io, store.add(std::move(folder))); }
    void remove(std::string folder) { run(platform.io, store.remove(std::move(folder))); }
    bool mayRead(std::string path)
    {
        return !errorOf([&] { run(platform.io, access.read(std::move(path))); });
    }

    FakePlatform platform;
    FileAccess access{platform.contexts.workers, platform.fileSystem, {}};
    FolderAccessStore store{platform.contexts.workers, platform.settings, platform.fileSystem, access};
};

TEST_F(FolderAccessStoreTest, grantsNothingOnAFreshMachine)
{
    EXPECT_TRUE(roots().empty());
    EXPECT_TRUE(run(platform.io, store.list()).empty());
}

TEST_F(FolderAccessStoreTest, givesTheStoredFoldersInOrder)
{
    setStored(R"(["/b","/a"])");

    EXPECT_EQ(roots(), (Folders{"/b", "/a"}));
}

TEST_F(FolderAccessStoreTest, takesAnArrayOfTextsOrNothing)
{
    for (std::string const content :
         {"", "7", R"("/a")", R"(["/a",1])", R"(["/a",null])", R"([["/a"]])", "[", R"({"0":"/a"})"}) {
        setStored(content);
        EXPECT_TRUE(roots().empty()) << content;
    }
}

TEST_F(FolderAccessStoreTest, skipsWhatIsNotAbsoluteOrNotThere)
{
    platform.fileSystem.current = "/";
    setStored(R"(["a","/gone","","~/x","/a","./b","/b"])");

    EXPECT_EQ(roots(), (Folders{"/a", "/b"}));
    EXPECT_EQ(run(platform.io, store.list()).size(), 7u); // A missing folder stays listed until it is back.
}

TEST_F(FolderAccessStoreTest, skipsAPathThatEndsInTheMiddle)
{
    setStored(R"(["/a\u0000b"])");

    EXPECT_TRUE(roots().empty());
}

TEST_F(FolderAccessStoreTest, countsALinkThatLeadsSomewhere)
{
    platform.fileSystem.addLink("/link", "/a");
    platform.fileSystem.addLink("/dangling", "/gone");
    setStored(R"(["/link","/dangling"])");

    EXPECT_EQ(roots(), Folders{"/link"});
}

TEST_F(FolderAccessStoreTest, putsAGrantInForceAndOnDiskBeforeItAnswers)
{
    EXPECT_FALSE(mayRead("/a/x"));

    EXPECT_TRUE(add("/a"));

    EXPECT_EQ(stored(), R"(["/a"])");
    EXPECT_EQ(platform.settings.writtenCalls, 1);
    EXPECT_TRUE(mayRead("/a/x"));
    EXPECT_FALSE(mayRead("/b/x"));
}

TEST_F(FolderAccessStoreTest, takesAGrantBackAndIsOnDiskBeforeItAnswers)
{
    add("/a");
    add("/b");

    remove("/a");

    EXPECT_EQ(stored(), R"(["/b"])");
    EXPECT_EQ(platform.settings.writtenCalls, 3);
    EXPECT_FALSE(mayRead("/a/x"));
    EXPECT_TRUE(mayRead("/b/x"));
}

TEST_F(FolderAccessStoreTest, storesAFolderOnceUnderItsStandardPath)
{
    EXPECT_TRUE(add("/a/"));
    EXPECT_TRUE(add("/b//../a"));

    EXPECT_EQ(stored(), R"(["/a"])");
}

TEST_F(FolderAccessStoreTest, removesAFolderUnderAnySpelling)
{
    setStored(R"(["/a/","/a","/b"])");

    remove("//a");

    EXPECT_EQ(stored(), R"(["/b"])");
}

TEST_F(FolderAccessStoreTest, removesARelativePathOnlyInTheSameSpelling)
{
    setStored(R"(["a","/a"])");

    remove("a");

    EXPECT_EQ(stored(), R"(["/a"])");
}

TEST_F(FolderAccessStoreTest, grantsNothingButFoldersThatAreThere)
{
    for (std::string const folder : {"", "a", "~/a", "/", "//", "/a/..", "/gone", "/a/x", "/a/\xff"}) {
        EXPECT_FALSE(add(folder)) << folder;
        EXPECT_EQ(stored(), "") << folder;
    }
    EXPECT_FALSE(add(std::string("/a\0", 3)));
}

TEST_F(FolderAccessStoreTest, grantsALinkToAFolderAsTheLink)
{
    platform.fileSystem.addLink("/link", "/a");

    EXPECT_TRUE(add("/link"));

    EXPECT_EQ(stored(), R"(["/link"])");
    EXPECT_TRUE(mayRead("/a/x"));
}

TEST_F(FolderAccessStoreTest, losesNoChangeOfTwoAtOnce)
{
    add("/a");
    spawn(platform.contexts.agent, [this]() -> Task<> { co_await store.add("/b"); });
    spawn(platform.contexts.agent, [this] { return store.remove("/a"); });
    platform.settle();

    EXPECT_EQ(stored(), R"(["/b"])");
    EXPECT_FALSE(mayRead("/a/x"));
    EXPECT_TRUE(mayRead("/b/x"));
}

} // namespace

} // namespace zelvo
