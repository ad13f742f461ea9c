#include "drivers/FilePlace.h"

#include "drivers/FilePath.h"

#include <ranges>

namespace zelvo {

namespace {

constexpr int maxLinks = 40; // The kernel's own limit.

/// Resolves a path component by component. `done` contains no links, so ".." is simply its parent.
class Walk {
public:
    Walk(FileSystem& files, std::string const& path) : files(files) { push(path); }

    FilePlace run()
    {
        while (!pending.empty()) {
            std::string const part = std::move(pending.back());
            pending.pop_back();
            if (part == "..")
                done = paths::parentOf(done);
            else
                step(part);
        }
        return {.path = done, .exists = exists, .isFolder = exists && isFolder};
    }

private:
    void push(std::string_view path)
    {
        for (std::string& part : paths::parts(path) | std::views::reverse)
            pending.push_back(std::move(part));
    }

    void step(std::string const& part)
    {
        FileNode const node = exists ? files.nodeAt(paths::joined(done, part)) : FileNode{};
        if (node.kind == FileNode::Kind::link && ++links <= maxLinks) {
            if (node.target.starts_with('/'))
                done = "/";
            push(node.target);
            return;
        }
        isFolder = node.kind == FileNode::Kind::folder;
        bool const leadsOn = isFolder || (node.kind == FileNode::Kind::other && pending.empty());
        exists = exists && leadsOn;
        if (!done.ends_with('/'))
            done += '/';
        done += part; // Appended in place, because a path that does not exist can be very long.
    }

    FileSystem& files;
    std::vector<std::string> pending; // the next part last
    std::string done = "/";
    bool exists = true;
    bool isFolder = true; // "/" is one
    int links = 0;
};

} // namespace

FilePlace locate(FileSystem& files, std::string const& path)
{
    return Walk(files, path).run();
}

} // namespace zelvo
