#pragma once
// Drives a control as an accessibility tool does: through an action of its accessible interface
// (AT-SPI's "Toggle" and "Press" are QAccessibleActionInterface's toggle and press actions).

#include <QAbstractButton>
#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QWidget>

namespace telvo::test {

// Runs `action` on `w`; false when the control does not offer it. Option buttons and check
// boxes offer "Toggle" only. A press is animated by the button (it goes down, then clicks on a
// timer): this returns once the button is up again.
inline bool accessibleAction(QWidget* w, const QString& action) {
    QAccessibleInterface* iface = QAccessible::queryAccessibleInterface(w);
    if (!iface || !iface->actionInterface())
        return false;
    if (!iface->actionInterface()->actionNames().contains(action))
        return false;
    iface->actionInterface()->doAction(action);
    if (auto* b = qobject_cast<QAbstractButton*>(w)) {
        QDeadlineTimer limit(10000);
        while (b->isDown() && !limit.hasExpired())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        if (b->isDown())
            return false;
    }
    return true;
}

inline bool accessibleToggle(QWidget* w) {
    return accessibleAction(w, QAccessibleActionInterface::toggleAction());
}

} // namespace telvo::test
