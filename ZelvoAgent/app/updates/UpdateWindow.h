#pragma once

#include "app/AppServices.h"
#include "app/updates/UpdateStatus.h"
#include "app/widgets/FittedWindow.h"

#include <boost/signals2/connection.hpp>

class QVBoxLayout;

namespace zelvo {

class Button;
class ProgressLine;
class TextLabel;

/// Says how the search for a new version is going, what is new in it, and offers to install it now. Thread:
/// main.
class UpdateWindow final : public FittedWindow {
public:
    explicit UpdateWindow(AppServices const& services);

protected:
    QWidget* newColumn() override;

private:
    enum class Restart { none, asked, failed };

    UpdateStatus status() const;
    void follow();
    void showAmount(UpdateStatus const& status);
    void addHead(QVBoxLayout& column, QWidget* content);
    void addProgress(QVBoxLayout& column, QWidget* content);
    void addNotes(QVBoxLayout& column, QWidget* content);
    void addFoot(QVBoxLayout& column, QWidget* content);
    Button* newAction(QWidget* parent);
    Button* newInstall(QWidget* parent);
    void askRestart();
    void setRestart(Restart next);

    AppServices const& services;
    UpdateStatus shown;
    Restart restart = Restart::none;
    // Of the content; null while nothing is in progress.
    ProgressLine* line = nullptr;
    TextLabel* amount = nullptr;
    Soon followSoon{[this] { follow(); }};
    boost::signals2::scoped_connection following;
};

} // namespace zelvo
