#include "ZelvoGateway/recordings/s3/XmlElements.h"

#include <expat.h>

#include <memory>
#include <type_traits>

namespace zelvo::service {

namespace {

struct ParserRelease {
    void operator()(XML_Parser parser) const noexcept { XML_ParserFree(parser); }
};
using ParserPtr = std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserRelease>;

class ElementReader {
public:
    explicit ElementReader(XmlLimits const& limits) : limits(limits), parser(XML_ParserCreate("UTF-8"))
    {
        XML_SetUserData(parser.get(), this);
        XML_SetElementHandler(parser.get(), &ElementReader::begin, &ElementReader::end);
        XML_SetCharacterDataHandler(parser.get(), &ElementReader::addText);
        XML_SetStartDoctypeDeclHandler(parser.get(), &ElementReader::refuseType);
    }

    std::optional<std::vector<XmlElement>> read(std::string_view document)
    {
        if (document.size() > limits.maxBytes ||
            XML_Parse(parser.get(), document.data(), static_cast<int>(document.size()), XML_TRUE) !=
                XML_STATUS_OK)
            return std::nullopt;
        return std::move(elements);
    }

private:
    static void begin(void* self, char const* name, char const**)
    {
        static_cast<ElementReader*>(self)->enter(name);
    }
    static void end(void* self, char const*) { static_cast<ElementReader*>(self)->leave(); }
    static void addText(void* self, char const* piece, int size)
    {
        auto& reader = *static_cast<ElementReader*>(self);
        reader.text.append(piece, static_cast<std::size_t>(size));
        if (reader.text.size() > reader.limits.maxText)
            reader.stop();
    }
    static void refuseType(void* self, char const*, char const*, char const*, int)
    {
        static_cast<ElementReader*>(self)->stop();
    }

    void enter(std::string_view name)
    {
        name.remove_prefix(name.find(':') + 1); // npos + 1 is 0.
        starts.push_back(path.size());
        path += path.empty() ? "" : "/";
        path += name;
        text.clear();
        isLeaf = true;
        if (starts.size() > limits.maxDepth || path.size() > limits.maxText)
            stop();
    }
    void leave()
    {
        elements.push_back({.path = path, .text = isLeaf ? text : std::string()});
        text.clear();
        isLeaf = false;
        path.resize(starts.back());
        starts.pop_back();
        if (elements.size() > limits.maxElements)
            stop();
    }
    void stop() { XML_StopParser(parser.get(), XML_FALSE); }

    XmlLimits const& limits;
    ParserPtr parser;
    std::vector<XmlElement> elements;
    std::string path;
    std::vector<std::size_t> starts; // Of the names in the path.
    std::string text;
    bool isLeaf = true; // The element that ends next; the blanks between the elements of another are no text.
};

} // namespace

std::optional<std::vector<XmlElement>> xmlElements(std::string_view document, XmlLimits const& limits)
{
    return ElementReader(limits).read(document);
}

} // namespace zelvo::service
