#pragma once

#include <QStringList>
#include <QWidget>

#include <functional>

namespace zelvo {

class Picker;

/// A setting with a few choices: its title, and a picker below it. Thread: main.
class SettingPicker final : public QWidget {
public:
    /// onChosen  gets the index of the person's choice
    SettingPicker(QString const& title,
                  QStringList const& choices,
                  std::function<void(int)> onChosen,
                  QWidget* parent);

    void setChosen(int index);
    int chosen() const;

private:
    Picker* picker;
};

} // namespace zelvo
