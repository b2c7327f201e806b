#pragma once
// The device's on-screen menu as far as the serial keys reach it. Menu opens the top level on
// its first item, Down and Up move, Enter opens a submenu or runs an item, Exit goes back up.
//
//   Input | Picture | Output | Setup | System
//   System:   Information, Language, OSD, Serial Port, Power, Restore Defaults, Firmware
//   Firmware: Version, Update Firmware
//
// So Menu, Down x4, Enter, Down x5, Enter restores the defaults, and Menu, Down x4, Enter,
// Down x6, Enter, Down x1, Enter starts the firmware update.

#include <QString>
#include <QStringList>
#include <vector>

namespace vorix::sim {

class Menu {
public:
    enum Key { Left = 1, Right, Up, Down, MenuKey, Enter, Exit };
    enum class Action { None, RestoreDefaults, FirmwareUpdate };

    Menu();
    // A key press; what the device is to do as a result.
    Action press(int key);
    void close();
    bool isOpen() const { return m_open; }
    // Where the cursor stands, as "System > Firmware > Update Firmware"; empty when closed.
    QString where() const;

private:
    struct Item {
        QString name;
        Action action = Action::None;
        std::vector<Item> children;
    };
    const std::vector<Item>& level() const;

    Item m_root;
    std::vector<int> m_path; // the items entered, from the top
    int m_cursor = 0;
    bool m_open = false;
};

} // namespace vorix::sim
