#pragma once

#include "app/AppServices.h"

#include <QWidget>

#include <memory>
#include <optional>
#include <string>
#include <vector>

class QFileDialog;
class QVBoxLayout;

namespace zelvo {

/// The folders that agents may use: each with a button to take it back, and one that adds a folder. A change
/// holds for the next command. Thread: main.
class FoldersRow final : public QWidget {
public:
    FoldersRow(AppServices const& services, QWidget* parent);

    /// Reads the list again, soon.
    void refresh();

private:
    void show(std::vector<std::string> const& folders);
    void addLine(std::string const& folder);
    void choose();
    void add(std::string folder);
    void remove(std::string folder);
    /// Runs a change, then shows the list that is stored.
    void change(std::function<Task<bool>()> work);

    AppServices const& services;
    std::optional<std::vector<std::string>> shown;
    QVBoxLayout* lines;
    QWidget* failure;
    std::shared_ptr<int> alive = std::make_shared<int>(); // Tasks hold it weakly to detect destruction.
};

} // namespace zelvo
