#include "app/Controls.h"

#include "core/text/Classic.h"
#include "platform/Platform.h"

#include <QApplication>
#include <QScreen>

namespace telvo::ui {

QPushButton* NamedButton(const QString& caption, QWidget* parent, const char* name) {
    auto* b = new QPushButton(caption, parent);
    b->setObjectName(QLatin1String(name));
    b->setAccessibleName(caption);
    b->setAutoDefault(false);
    return b;
}

void CenterForm(QWidget* window) {
    window->adjustSize();
    if (QScreen* s = QApplication::primaryScreen()) {
        const QRect r = s->availableGeometry();
        window->move(r.x() + (r.width() - window->width()) / 2,
                     r.y() + (r.height() - window->height()) / 2);
    }
}

void Handle(const std::function<void()>& handler) {
    try {
        handler();
    } catch (const platform::ProgramEnd&) {
        // Already ended: the windows are gone and the nearest yield unwinds the rest.
    } catch (const core::RuntimeError& e) {
        platform::MessageBox(QStringLiteral("Run-time error '%1':\r\n\r\n%2")
                                 .arg(e.number())
                                 .arg(e.description()));
    }
}

} // namespace telvo::ui
