#pragma once

#include <QWidget>

#include <functional>

namespace zelvo {

class Button;
class SymbolView;
class TextLabel;

/// Whether the system permits something: a check, or a warning with the way to help. Thread: main.
class PermissionRow final : public QWidget {
public:
    PermissionRow(QString const& title, std::function<void()> openSettings, QWidget* parent);

    void setGranted(bool granted);

private:
    SymbolView* check;
    SymbolView* warning;
    TextLabel* allowed;
    Button* help;
};

} // namespace zelvo
