#pragma once

#include "state/ActivityEntry.h"

#include <QWidget>

#include <span>
#include <vector>

class QVBoxLayout;

namespace zelvo {

/// The latest entries of the activity log, in short; nothing of it expands. Thread: main.
class CompactActivity final : public QWidget {
public:
    static constexpr std::size_t maxRows = 3;

    explicit CompactActivity(QWidget* parent);

    /// newest first
    void setEntries(std::span<ActivityEntry const> entries);

private:
    QWidget* newRow(ActivityEntry const& entry);

    std::vector<ActivityEntry> shown;
    bool isFilled = false;
    QVBoxLayout* column;
};

} // namespace zelvo
