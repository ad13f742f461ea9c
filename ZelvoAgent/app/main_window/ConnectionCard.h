#pragma once

#include "app/AppServices.h"
#include "app/widgets/Card.h"
#include "state/GrantedConnection.h"

class QMenu;

namespace zelvo {

/// One platform that may use this computer: its name, what it may do, and a menu. Thread: main.
class ConnectionCard final : public QWidget {
public:
    ConnectionCard(GrantedConnection granted, AppServices const& services, QWidget* parent);

private:
    QMenu* newMenu();
    void addSharing(QMenu& menu);
    void disconnect();
    void share(bool on);

    GrantedConnection const connection;
    AppServices const& services;
};

} // namespace zelvo
