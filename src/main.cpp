// Wires the libraries together and hands over to the start-up.
#include "app/Controls.h"
#include "app/Main.h"
#include "platform/PortMap.h"
#include "platform/Platform.h"

#include "DevicePeer.h"

#include <QApplication>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Telvo Utility"));
    QStringList words = QApplication::arguments();
    words.removeFirst();
    telvo::ui::SetCommandLine(words.join(QLatin1Char(' ')));
    // "sim" entries of TELVO_PORTS put the device emulator behind that COM number, in-process.
    telvo::platform::PortMap::instance().setPeerFactory(vorix::sim::MakeDefaultPeer);
    try {
        telvo::ui::Handle([] { telvo::ui::Main(); });
        if (telvo::platform::ProgramEnded()) return 0;
        return app.exec();
    } catch (const telvo::platform::ProgramEnd&) {
        return 0;
    }
}
