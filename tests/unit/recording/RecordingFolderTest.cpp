#include "recording/RecordingFolder.h"

#include "fakes/FakeMovieFolders.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

TEST(RecordingFolder, standsAmongThePersonsFilms)
{
    FakeMovieFolders folders;
    EXPECT_EQ(recordingFolder(folders), "/home/me/Videos/Zelvo");

    folders.movies = "/data/films";
    EXPECT_EQ(recordingFolder(folders), "/data/films/Zelvo");
}

TEST(FreeFilmPath, isTheNameWhereThatIsFree)
{
    FakeMovieFolders folders;

    EXPECT_EQ(freeFilmPath(folders, "/f", "Zelvo x.mp4"), "/f/Zelvo x.mp4");
}

TEST(FreeFilmPath, countsOnWhereTheNameIsTaken)
{
    FakeMovieFolders folders;
    folders.stored["/f/Zelvo x.mp4"];
    EXPECT_EQ(freeFilmPath(folders, "/f", "Zelvo x.mp4"), "/f/Zelvo x 2.mp4");

    folders.stored["/f/Zelvo x 2.mp4"];
    EXPECT_EQ(freeFilmPath(folders, "/f", "Zelvo x.mp4"), "/f/Zelvo x 3.mp4");
}

TEST(FreeFilmPath, givesUpWhereNothingIsFree)
{
    FakeMovieFolders folders;
    folders.everythingIsTaken = true;

    EXPECT_THROW(freeFilmPath(folders, "/f", "Zelvo x.mp4"), FileFailure);
}

} // namespace
} // namespace zelvo
