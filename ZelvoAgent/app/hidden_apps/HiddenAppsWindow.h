#pragma once

#include "app/AppServices.h"
#include "app/hidden_apps/HiddenAppsList.h"
#include "app/widgets/ContentWindow.h"

#include <memory>

class QVBoxLayout;

namespace zelvo {

/// The applications that agents neither see nor operate: what is hidden, what is suggested, what runs.
/// Thread: main.
class HiddenAppsWindow final : public ContentWindow {
public:
    explicit HiddenAppsWindow(AppServices const& services);

protected:
    QWidget* newContent() override;
    void changeEvent(QEvent* event) override;

private:
    void addGroups(QVBoxLayout& column, HiddenAppsSnapshot const& all);
    void addGroup(QVBoxLayout& column,
                  std::string_view title,
                  std::vector<NamedApplication> const& applications,
                  bool areHidden);
    void set(std::string identifier, bool hides);
    void read();

    AppServices const& services;
    std::optional<HiddenAppsSnapshot> shown;              // `nullopt` until it is read.
    std::shared_ptr<int> alive = std::make_shared<int>(); // Tasks hold it weakly to detect destruction.
};

} // namespace zelvo
