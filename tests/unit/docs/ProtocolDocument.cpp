#include "unit/docs/ProtocolDocument.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace zelvo {

namespace {

constexpr std::string_view fence = "```";

std::string trimmed(std::string_view text)
{
    std::size_t const first = text.find_first_not_of(' ');
    if (first == std::string_view::npos)
        return {};
    return std::string(text.substr(first, text.find_last_not_of(' ') - first + 1));
}

bool isCode(std::string_view text)
{
    return text.size() > 2 && text.starts_with('`') && text.find('`', 1) == text.size() - 1;
}

std::string withoutTicks(std::string const& text)
{
    return isCode(text) ? text.substr(1, text.size() - 2) : text;
}

std::vector<std::string> cellsOf(std::string const& line)
{
    std::vector<std::string> cells;
    std::istringstream stream(line.substr(1));
    for (std::string cell; std::getline(stream, cell, '|');)
        cells.push_back(withoutTicks(trimmed(cell)));
    return cells;
}

json::value readExample(std::istream& lines)
{
    std::string text;
    for (std::string line; std::getline(lines, line) && !line.starts_with(fence);)
        text += line + "\n";
    auto parsed = parseJson(text);
    if (!parsed)
        throw std::runtime_error("this example is no JSON: " + text);
    return *std::move(parsed);
}

void readTableLine(DocumentSection& section, std::string const& line, bool isFirst)
{
    if (isFirst)
        section.tables.push_back({cellsOf(line), {}});
    else if (!line.starts_with("|--"))
        section.tables.back().rows.push_back(cellsOf(line));
}

} // namespace

std::string DocumentTable::cell(std::vector<std::string> const& row, std::string_view heading) const
{
    auto const column = static_cast<std::size_t>(std::ranges::find(head, heading) - head.begin());
    return column < row.size() ? row[column] : "";
}

DocumentTable const* DocumentSection::table(std::string_view firstColumn) const
{
    auto const found = std::ranges::find_if(
        tables, [&](DocumentTable const& each) { return each.head.front() == firstColumn; });
    return found == tables.end() ? nullptr : &*found;
}

ProtocolDocument const& ProtocolDocument::present()
{
    static ProtocolDocument const document = [] {
        std::ifstream stream(ZELVO_DOCS "/protocol.md", std::ios::binary);
        return ProtocolDocument({std::istreambuf_iterator<char>(stream), {}});
    }();
    return document;
}

ProtocolDocument::ProtocolDocument(std::string const& text)
{
    std::istringstream lines(text);
    std::string chapter;
    bool inTable = false;
    sections.emplace_back();
    for (std::string line; std::getline(lines, line);) {
        DocumentSection& section = sections.back();
        if (line.starts_with("## ")) {
            chapter = line.substr(3);
            sections.push_back({.chapter = chapter});
        } else if (line.starts_with("### ")) {
            std::string const title = line.substr(4);
            sections.push_back({.chapter = chapter, .title = withoutTicks(title), .isName = isCode(title)});
        } else if (line.starts_with("Scope: ")) {
            section.scope = withoutTicks(line.substr(7));
        } else if (line.starts_with(fence)) {
            section.examples.push_back(readExample(lines));
        } else if (line.starts_with("|")) {
            readTableLine(section, line, !inTable);
        }
        sections.back().text += line + "\n";
        inTable = line.starts_with("|");
    }
}

DocumentSection const& ProtocolDocument::section(std::string_view chapter, std::string_view title) const
{
    auto const found = std::ranges::find_if(sections, [&](DocumentSection const& each) {
        return each.chapter == chapter && each.title == title;
    });
    if (found == sections.end())
        throw std::runtime_error("no section " + std::string(chapter) + " " + std::string(title));
    return *found;
}

std::vector<DocumentSection> ProtocolDocument::named(std::string_view chapter) const
{
    std::vector<DocumentSection> all;
    std::ranges::copy_if(sections, std::back_inserter(all),
                         [&](DocumentSection const& each) { return each.chapter == chapter && each.isName; });
    return all;
}

std::vector<std::string> ProtocolDocument::names(std::string_view chapter) const
{
    std::vector<std::string> all;
    for (DocumentSection const& section : named(chapter))
        all.push_back(section.title);
    return all;
}

} // namespace zelvo
