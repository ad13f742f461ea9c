#pragma once

#include "wire/Json.h"

#include <string>
#include <string_view>
#include <vector>

namespace zelvo {

/// A table of docs/protocol.md. Cells are without the backticks around a whole cell.
struct DocumentTable {
    std::vector<std::string> head;
    std::vector<std::vector<std::string>> rows;

    /// The cell of a row under a heading; empty when there is no such column.
    std::string cell(std::vector<std::string> const& row, std::string_view heading) const;
};

/// What stands between a heading and the next.
struct DocumentSection {
    std::string chapter; ///< the heading of the first order that it stands under, such as "Methods"
    std::string title;   ///< its own heading, empty at a chapter's beginning
    bool isName = false; ///< the heading is a name of the wire
    std::string scope;   ///< what follows "Scope: "
    std::string text;    ///< all lines but those of examples
    std::vector<DocumentTable> tables;
    std::vector<json::value> examples;

    /// The table with this first column; null when there is none. Of several the first.
    DocumentTable const* table(std::string_view firstColumn) const;
};

/// docs/protocol.md as tests read it.
class ProtocolDocument {
public:
    static ProtocolDocument const& present();

    std::vector<DocumentSection> sections;

    /// Throws std::runtime_error when there is none.
    DocumentSection const& section(std::string_view chapter, std::string_view title = "") const;
    /// The sections of a chapter that are about a name of the wire.
    std::vector<DocumentSection> named(std::string_view chapter) const;
    std::vector<std::string> names(std::string_view chapter) const;

private:
    explicit ProtocolDocument(std::string const& text);
};

} // namespace zelvo
