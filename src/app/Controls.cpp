#include "app/Controls.h"

#include "app/Classic.h"
#include "platform/Platform.h"

namespace telvo::ui {

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
