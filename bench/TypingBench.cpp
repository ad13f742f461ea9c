// Workload: 1000 characters typed into a text field of a real program on a private desktop, with our event
// posting as the input driver uses it, and with plain xdotool. Once letters of the layout only, once a text
// of many scripts. Reports characters per second, from the first event to the last, and errors: the edit
// distance between the text and the field's final content.

#include "base/Text.h"
#include "desktop/input/InputFixture.h"
#include "desktop/input/SampleTexts.h"
#include "desktop/input/TextField.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <numeric>
#include <string>
#include <vector>

namespace zelvo::test {
namespace {

struct Program {
    FieldKind kind;
    char const* name;
};

struct Outcome {
    double perSecond = 0;
    std::size_t errors = 0;
};

std::string plainText()
{
    std::string text;
    while (text.size() < 1000)
        text += "The quick brown fox jumps over the lazy dog, 42 times. ";
    return text.substr(0, 1000);
}

/// The edit distance in user-perceived characters.
std::size_t errorsIn(std::string const& typed, std::string const& wanted)
{
    auto const from = text::chunks(typed, 1);
    auto const to = text::chunks(wanted, 1);
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= from.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= to.size(); ++j) {
            std::size_t const changed = diagonal + (from[i - 1] == to[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, changed});
        }
    }
    return row.back();
}

template <class Type>
Outcome measured(FieldKind kind, std::string const& text, Type const& type)
{
    InputFixture fixture;
    TextField const field(fixture.desktop, kind);
    auto const began = std::chrono::steady_clock::now();
    type(fixture);
    std::chrono::duration<double> const taken = std::chrono::steady_clock::now() - began;
    std::string const value = field.valueAfter(text);
    return {static_cast<double>(text::characterCount(text)) / taken.count(), errorsIn(value, text)};
}

Outcome typedByUs(FieldKind kind, std::string const& text)
{
    return measured(kind, text, [&](InputFixture& fixture) { fixture.typeText(text); });
}

Outcome typedByXdotool(FieldKind kind, std::string const& text)
{
    return measured(kind, text, [&](InputFixture& fixture) {
        auto const file = fixture.desktop.home() / "text";
        std::ofstream(file, std::ios::binary) << text;
        fixture.desktop.run({"xdotool", "type", "--file", file.string()}, 120);
    });
}

void compare(Program const& program, char const* which, std::string const& text)
{
    Outcome const ours = typedByUs(program.kind, text);
    Outcome const theirs = typedByXdotool(program.kind, text);
    std::printf("%-10s %-14s %10.0f %8zu %14.0f %8zu\n", program.name, which, ours.perSecond, ours.errors,
                theirs.perSecond, theirs.errors);
    std::fflush(stdout);
}

} // namespace
} // namespace zelvo::test

int main()
{
    using namespace zelvo::test;
    std::vector<Program> const programs = {{FieldKind::gtk, "GTK"},
                                           {FieldKind::qt, "Qt"},
                                           {FieldKind::xterm, "xterm"},
                                           {FieldKind::chromium, "Chromium"}};
    std::printf("%-10s %-14s %10s %8s %14s %8s\n", "", "", "ours: 1/s", "errors", "xdotool: 1/s", "errors");
    for (Program const& program : programs) {
        compare(program, "ASCII", plainText());
        compare(program, "many scripts", longText());
    }
    return 0;
}
