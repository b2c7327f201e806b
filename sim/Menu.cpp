#include "Menu.h"

namespace vorix::sim {

namespace {

using A = Menu::Action;

} // namespace

Menu::Menu() {
    const auto leaf = [](const char* name, A action = A::None) {
        Item i;
        i.name = QString::fromLatin1(name);
        i.action = action;
        return i;
    };
    Item firmware = leaf("Firmware");
    firmware.children = {leaf("Version"), leaf("Update Firmware", A::FirmwareUpdate)};
    Item system = leaf("System");
    system.children = {leaf("Information"),
                       leaf("Language"),
                       leaf("OSD"),
                       leaf("Serial Port"),
                       leaf("Power"),
                       leaf("Restore Defaults", A::RestoreDefaults),
                       firmware};
    m_root.children = {leaf("Input"), leaf("Picture"), leaf("Output"), leaf("Setup"), system};
}

const std::vector<Menu::Item>& Menu::level() const {
    const Item* at = &m_root;
    for (int i : m_path)
        at = &at->children[i];
    return at->children;
}

void Menu::close() {
    m_open = false;
    m_path.clear();
    m_cursor = 0;
}

Menu::Action Menu::press(int key) {
    if (key == MenuKey) {
        // Menu always starts over at the top, whatever was open.
        close();
        m_open = true;
        return A::None;
    }
    if (!m_open)
        return A::None;
    const int count = int(level().size());
    switch (key) {
    case Up:
        if (m_cursor > 0)
            --m_cursor;
        break;
    case Down:
        if (m_cursor < count - 1)
            ++m_cursor;
        break;
    case Exit:
        if (m_path.empty()) {
            close();
        } else {
            m_cursor = m_path.back();
            m_path.pop_back();
        }
        break;
    case Enter: {
        const Item& item = level()[m_cursor];
        if (!item.children.empty()) {
            m_path.push_back(m_cursor);
            m_cursor = 0;
        } else if (item.action != A::None) {
            const A action = item.action;
            close();
            return action;
        }
        break;
    }
    default: // Left and Right change values, and no value lives here
        break;
    }
    return A::None;
}

QString Menu::where() const {
    if (!m_open)
        return {};
    QStringList names;
    const Item* at = &m_root;
    for (int i : m_path) {
        at = &at->children[i];
        names << at->name;
    }
    names << at->children[m_cursor].name;
    return names.join(QStringLiteral(" > "));
}

} // namespace vorix::sim
