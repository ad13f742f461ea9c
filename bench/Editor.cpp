#include "Editor.h"

#include <fstream>

namespace zelvo {

void openEditor(test::PrivateSession& desktop)
{
    std::filesystem::path const text = desktop.home() / "text.txt";
    std::ofstream stream(text);
    for (int line = 0; line < 400; ++line)
        stream << line << ": The quick brown fox jumps over the lazy dog, " << line * line
               << " times by now.\n";
    stream.close();
    desktop.start({"mousepad", "--disable-server", text.string()});
}

} // namespace zelvo
