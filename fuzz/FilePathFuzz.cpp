#include "drivers/FilePath.h"
#include "drivers/FilePlace.h"
#include "fakes/FakeFileSystem.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace {

using namespace zelvo;

void expect(bool holds)
{
    if (!holds)
        std::abort();
}

/// A standardized path is absolute and cannot be shortened.
void checkText(std::string_view text)
{
    std::string const standard = paths::standardized(text, "/base/here");
    expect(standard.starts_with('/') && (standard == "/" || !standard.ends_with('/')));
    for (std::string const& part : paths::parts(standard))
        expect(part != "." && part != ".." && !part.empty());
    expect(standard.find("//") == std::string::npos);
    expect(paths::standardized(standard, "/other") == standard);
    std::string const parent = paths::parentOf(standard);
    expect(standard == "/" || paths::joined(parent, paths::nameOf(standard)) == standard);
    expect(standard == "/" || parent == "/" || paths::isInside(standard, parent));
    expect(!paths::isInside(standard + "2", standard));
}

/// Each line is a link, "path>target", or a folder.
FakeFileSystem linksOf(std::string_view text)
{
    FakeFileSystem files;
    while (!text.empty() && files.nodes.size() < 200) {
        std::string_view const line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        std::size_t const arrow = line.find('>');
        std::string const path = paths::standardized(line.substr(0, arrow), "/");
        if (path == "/")
            continue;
        if (arrow == std::string_view::npos)
            files.addFolder(path);
        else if (arrow + 1 < line.size())
            files.addLink(path, std::string(line.substr(arrow + 1)));
    }
    return files;
}

/// A resolved path contains no link, and reported files exist.
void checkPlace(FakeFileSystem& files, std::string const& path)
{
    FilePlace const place = locate(files, path);
    expect(paths::standardized(place.path, "/") == place.path);
    if (!place.exists)
        return;
    expect(files.nodeAt(place.path).kind != FileNode::Kind::missing);
    for (std::string above = place.path; above != "/"; above = paths::parentOf(above)) {
        FileNode::Kind const kind = files.nodeAt(above).kind;
        expect(kind == FileNode::Kind::folder || (above == place.path && kind == FileNode::Kind::other));
    }
    expect(locate(files, place.path) == place);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string_view const text(reinterpret_cast<char const*>(data), std::min<std::size_t>(size, 4096));
    checkText(text);
    FakeFileSystem files = linksOf(text);
    checkPlace(files, zelvo::paths::standardized(text.substr(text.rfind('\n') + 1), "/"));
    return 0;
}
