#pragma once
// What the screen renderers share: a wall-clock wait that keeps the program running, and the
// saving of one window's picture.

#include "platform/clock/DoEvents.h"

#include <QElapsedTimer>
#include <QString>
#include <QTextStream>
#include <QWidget>

namespace telvo::screens {

inline void waitMs(int ms) {
    QElapsedTimer t;
    t.start();
    while (t.elapsed() < ms)
        platform::DoEvents();
}

inline void save(QWidget& w, const QString& path) {
    w.raise();
    waitMs(300);
    w.grab().save(path);
    QTextStream(stdout) << path << Qt::endl;
}

} // namespace telvo::screens
