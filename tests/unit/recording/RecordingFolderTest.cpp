#include "recording/RecordingFolder.h"

#include "fakes/FakeVideoFolders.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

TEST(RecordingFolder, isInThePersonsVideoFolder)
{
    FakeVideoFolders folders;
    EXPECT_EQ(recordingFolder(folders), "/home/me/Videos/Zelvo");

    folders.videos = "/data/recordings";
    EXPECT_EQ(recordingFolder(folders), "/data/recordings/Zelvo");
}

TEST(FreeRecordingPath, isTheNameWhereThatIsFree)
{
    FakeVideoFolders folders;

    EXPECT_EQ(freeRecordingPath(folders, "/f", "Zelvo x.mp4"), "/f/Zelvo x.mp4");
}

TEST(FreeRecordingPath, countsOnWhereTheNameIsTaken)
{
    FakeVideoFolders folders;
    folders.stored["/f/Zelvo x.mp4"];
    EXPECT_EQ(freeRecordingPath(folders, "/f", "Zelvo x.mp4"), "/f/Zelvo x 2.mp4");

    folders.stored["/f/Zelvo x 2.mp4"];
    EXPECT_EQ(freeRecordingPath(folders, "/f", "Zelvo x.mp4"), "/f/Zelvo x 3.mp4");
}

TEST(FreeRecordingPath, givesUpWhereNothingIsFree)
{
    FakeVideoFolders folders;
    folders.everythingIsTaken = true;

    EXPECT_THROW(freeRecordingPath(folders, "/f", "Zelvo x.mp4"), FileFailure);
}

} // namespace
} // namespace zelvo
