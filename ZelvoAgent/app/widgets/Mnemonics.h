#pragma once

class QWidget;

namespace zelvo {

/// Gives each button of a view a letter of its own label, by which Alt presses it. The letters follow the
/// language, because they come out of the labels. Thread: main.
void assignMnemonics(QWidget& view);

/// The property of a window whose buttons underline their letters; it does while Alt is held.
constexpr char const* showsMnemonics = "zelvo.showsMnemonics";

} // namespace zelvo
