#include "app/Controls.h"

#include "core/text/Classic.h"
#include "platform/dialogs/Platform.h"

#include <QApplication>
#include <QScreen>
#include <memory>

namespace telvo::ui {

QPushButton* NamedButton(const QString& caption, QWidget* parent, const char* name, Spoken spoken) {
    auto* b = new QPushButton(caption, parent);
    b->setObjectName(QLatin1String(name));
    if (spoken == Spoken::Caption)
        b->setAccessibleName(caption);
    b->setAutoDefault(false);
    return b;
}

void OnClick(QRadioButton* button, std::function<void()> click) {
    auto run = std::make_shared<std::function<void()>>(std::move(click));
    QObject::connect(button, &QAbstractButton::toggled, button, [run](bool on) {
        if (on)
            Handle(*run);
    });
    // A click on a button already set changes nothing, so no toggle tells of it: note at the
    // press (mouse, key or accessibility press) whether it was set, and run at the click.
    auto wasSet = std::make_shared<bool>(false);
    QObject::connect(button, &QAbstractButton::pressed, button,
                     [button, wasSet] { *wasSet = button->isChecked(); });
    QObject::connect(button, &QAbstractButton::clicked, button, [run, wasSet] {
        const bool again = *wasSet;
        *wasSet = false;
        if (again)
            Handle(*run);
    });
}

void OnClick(QCheckBox* box, std::function<void()> click) {
    QObject::connect(box, &QAbstractButton::toggled, box,
                     [click = std::move(click)] { Handle(click); });
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
        platform::MessageBox(
            QStringLiteral("Run-time error '%1':\r\n\r\n%2").arg(e.number()).arg(e.description()));
    }
}

} // namespace telvo::ui
