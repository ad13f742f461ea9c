#pragma once

#include "desktop/input/TextField.h"

#include <string>
#include <vector>

namespace zelvo::test {

/// One text for each script, and one with everything that is hard for keyboards.
std::vector<std::string> sampleTexts();
/// A short mix of scripts, with lower and upper case.
std::string mixedText();
/// 1000 code points, 130 of them distinct.
std::string longText();

/// 20 different characters of 8 code points each: more than there are spare keys for one chunk of text.
std::string crowdedText();

/// The applications that this test program is to type into.
std::vector<FieldKind> fieldKinds();
/// Those in which words can be clicked and selected.
std::vector<FieldKind> clickableKinds();
std::string fieldName(FieldKind kind);

} // namespace zelvo::test
