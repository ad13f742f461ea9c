// Writes a video of endless frames into the file of its first argument, and prints the number of each
// accepted frame; with a number as second argument it writes that many and finishes. For tests that kill it.

#include "desktop/video/TestPictures.h"
#include "platform/portable/video/LibavVideoFiles.h"

#include <cstdio>
#include <cstdlib>

int main(int count, char** arguments)
{
    using namespace zelvo;
    if (count < 2)
        return 2;
    long const frames = count > 2 ? std::strtol(arguments[2], nullptr, 10) : 1L << 30;
    LibavVideoFiles videos;
    auto const video = videos.create(test::settingsFor(arguments[1]));
    for (int number = 0; number < frames; ++number) {
        if (!video->append(test::busyPicture(320, 180, number), number * Duration(125ms)))
            return 1;
        std::printf("%d\n", number);
        std::fflush(stdout);
    }
    std::puts("finishing");
    std::fflush(stdout);
    return video->finish(frames * Duration(125ms)) ? 0 : 1;
}
