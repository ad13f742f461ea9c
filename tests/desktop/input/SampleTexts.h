#pragma once

#include "desktop/input/TextField.h"

#include <string>
#include <vector>

namespace zelvo::test {

/// One text a script, and one of everything that keyboards find hard.
std::vector<std::string> sampleTexts();
/// Some of each, short, with small letters and capitals.
std::string mixedText();
/// 1000 code points, 130 of them distinct.
std::string longText();

/// 20 characters of 8 code points each, all different: more than there are keys for one piece of text.
std::string crowdedText();

/// The applications that this test program is to type into.
std::vector<FieldKind> fieldKinds();
/// Those of them in which words can be clicked and selected.
std::vector<FieldKind> clickableKinds();
std::string fieldName(FieldKind kind);

} // namespace zelvo::test
