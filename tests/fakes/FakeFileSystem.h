#pragma once

#include "platform/FileSystem.h"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo {

/// Files in memory, by path without links.
class FakeFileSystem final : public FileSystem {
public:
    struct Node {
        FileNode::Kind kind = FileNode::Kind::other;
        std::string content; ///< of a file; for a link its target
        bool isRegular = true;
    };

    std::map<std::string, Node, std::less<>> nodes{{"/", {.kind = FileNode::Kind::folder, .content = {}}}};
    std::map<std::string, std::string, std::less<>> homes{{"", "/home/me"}};
    std::string current = "/";
    std::function<void()> onUse;           ///< called between check and open
    std::optional<std::uint64_t> toldSize; ///< reported instead of the true size
    bool tellsSize = true;                 ///< false simulates unreadable attributes
    bool isPrivate = false;                ///< every access meets a private place
    int failure = 0;                       ///< errno of every access
    std::vector<PlaceInFolder> opened;     ///< including failed calls
    std::vector<PlaceInFolder> replaced;   ///< including failed calls
    std::vector<std::string> looked;

    void addFolder(std::string_view path)
    {
        for (std::size_t end = 1; end <= path.size(); ++end)
            if (end == path.size() || path[end] == '/')
                nodes.try_emplace(std::string(path.substr(0, end)),
                                  Node{.kind = FileNode::Kind::folder, .content = {}});
    }
    void addFile(std::string const& path, std::string content)
    {
        addFolder(path.substr(0, path.rfind('/')));
        nodes[path] = {.kind = FileNode::Kind::other, .content = std::move(content)};
    }
    void addLink(std::string const& path, std::string target)
    {
        addFolder(path.substr(0, path.rfind('/')));
        nodes[path] = {.kind = FileNode::Kind::link, .content = std::move(target)};
    }
    void addPipe(std::string const& path)
    {
        nodes[path] = {.kind = FileNode::Kind::other, .content = {}, .isRegular = false};
    }
    std::optional<std::string> contentOf(std::string_view path) const
    {
        auto const found = nodes.find(path);
        return found == nodes.end() ? std::nullopt : std::optional(found->second.content);
    }

    std::optional<std::string> homeFolder(std::string const& user) override
    {
        auto const found = homes.find(user);
        return found == homes.end() ? std::nullopt : std::optional(found->second);
    }
    std::string currentFolder() override { return current; }

    FileNode nodeAt(std::string const& path) override
    {
        looked.push_back(path);
        auto const found = nodes.find(path);
        if (found == nodes.end())
            return {};
        bool const isLink = found->second.kind == FileNode::Kind::link;
        return {.kind = found->second.kind, .target = isLink ? found->second.content : std::string()};
    }

    std::unique_ptr<OpenFile> open(PlaceInFolder const& place) override
    {
        opened.push_back(place);
        use();
        std::string const path = pathOf(place);
        auto const found = nodes.find(path);
        if (found == nodes.end() || !hasFolders(path) || found->second.kind == FileNode::Kind::link)
            return nullptr;
        assertRegular(found->second);
        std::optional<std::uint64_t> const size =
            tellsSize ? std::optional(toldSize.value_or(found->second.content.size())) : std::nullopt;
        return std::make_unique<Reader>(size, found->second.content);
    }

    bool replace(PlaceInFolder const& place, std::string_view content, LinkThere link) override
    {
        replaced.push_back(place);
        use();
        std::string const path = pathOf(place);
        auto const found = nodes.find(path);
        if (found != nodes.end() && found->second.kind == FileNode::Kind::link && link == LinkThere::refused)
            return false;
        if (found != nodes.end() && found->second.kind != FileNode::Kind::link)
            assertRegular(found->second);
        addFolder(path.substr(0, std::max<std::size_t>(path.rfind('/'), 1)));
        if (!hasFolders(path))
            return false;
        nodes[path] = {.kind = FileNode::Kind::other, .content = std::string(content)};
        return true;
    }

private:
    class Reader final : public OpenFile {
    public:
        Reader(std::optional<std::uint64_t> bytes, std::string_view content) : bytes(bytes), content(content)
        {
        }
        std::optional<std::uint64_t> size() override { return bytes; }
        std::string read(std::size_t atMost) override { return std::string(content.substr(0, atMost)); }

    private:
        std::optional<std::uint64_t> bytes;
        std::string_view content;
    };

    static std::string pathOf(PlaceInFolder const& place)
    {
        if (place.path.empty())
            return place.folder;
        return (place.folder == "/" ? "" : place.folder) + "/" + place.path;
    }
    void use() const
    {
        if (onUse)
            onUse();
        if (failure != 0)
            throw FileFailure(failure);
        if (isPrivate)
            throw PrivatePlaceFailure();
    }
    bool hasFolders(std::string_view path) const
    {
        for (std::size_t end = path.rfind('/'); end != 0; end = path.rfind('/', end - 1)) {
            auto const found = nodes.find(path.substr(0, end));
            if (found == nodes.end() || found->second.kind != FileNode::Kind::folder)
                return false;
        }
        return true;
    }
    static void assertRegular(Node const& node)
    {
        if (node.kind == FileNode::Kind::folder)
            throw FileFailure(EISDIR);
        if (!node.isRegular)
            throw FileFailure(ENXIO);
    }
};

} // namespace zelvo
