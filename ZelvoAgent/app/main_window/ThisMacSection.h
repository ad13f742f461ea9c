#pragma once

#include "app/AppServices.h"
#include "wire/Permissions.h"

#include <QWidget>

class QVBoxLayout;

namespace zelvo {

class Button;
class FoldersRow;
class PermissionRow;
class SettingPicker;
class SwitchRow;
class TextLabel;

/// How this computer is set up: permissions, switches, recordings, waiting commands, folders and hidden
/// applications. Thread: main.
class ThisMacSection final : public QWidget {
public:
    ThisMacSection(AppServices const& services, QWidget* parent);

    void refresh(Permissions const& permissions);

private:
    void addPermissions(QVBoxLayout& column);
    void addSwitches(QVBoxLayout& column);
    void addRecordings(QVBoxLayout& column);
    void addReach(QVBoxLayout& column);
    bool isStrict() const;

    AppServices const& services;
    PermissionRow* screen = nullptr;
    PermissionRow* accessibility = nullptr;
    SwitchRow* keepAwake = nullptr;
    SwitchRow* cursor = nullptr;
    SwitchRow* strict = nullptr;
    SettingPicker* mode = nullptr;
    SettingPicker* retention = nullptr;
    Button* showRecordings = nullptr;
    SettingPicker* queue = nullptr;
    FoldersRow* folders = nullptr;
};

} // namespace zelvo
