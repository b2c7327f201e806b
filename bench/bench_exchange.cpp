// The exchange over the in-process line at 19200 baud on the real clock: exchanges per second as
// a ratio of what the line itself allows for those frame sizes, and CPU time per exchange.
// Then the cost of a line in the Details box at 100 and at 100,000 lines.

#include "CpuTime.h"
#include "app/Globals.h"
#include "app/LogView.h"
#include "app/MajorSubs.h"
#include "config/IniLoader.h"
#include "core/link/Protocol.h"
#include "link/zSCL.h"
#include "platform/clock/Clock.h"
#include "platform/dialogs/Platform.h"
#include "platform/doubles/ScriptedPeer.h"
#include "platform/doubles/ScriptedPlatform.h"
#include "platform/serial/PortMap.h"
#include "platform/serial/SimulatedLine.h"
#include "settings/SCL.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <sys/resource.h>
#include <vector>

using namespace telvo;

namespace {

void benchExchange() {
    platform::ScriptedPeer peer;
    const QByteArray reply = platform::DeviceFrame("21", QByteArray("B1\0"
                                                                    "42\0",
                                                                    6));
    peer.on({}, reply);
    platform::PortMap::instance().setPorts({});
    platform::PortMap::instance().attachPeer(1, &peer);
    ui::SCL& s = ui::scl();
    ui::InitDefaults();
    ui::Config().LogToFile = false;
    s.P1->setCommPort(1);
    s.P1->setSettings(QStringLiteral("19200,n,8,1"));
    s.P1->setRThreshold(1);
    s.P1->setPortOpen(true);
    s.txtPort->setText(QStringLiteral("COM1"));
    s.txtCrntSpeed->setText(QStringLiteral("19200"));

    const int n = 200;
    const QString query =
        core::BuildFrame(QStringLiteral("20"), QStringLiteral("B1") + core::NUL());
    const double bytesPerExchange = query.size() + reply.size();
    const double lineLimit = 19200.0 / 10.0 / bytesPerExchange; // exchanges a second
    QElapsedTimer wall;
    const double cpu0 = cpuSeconds();
    wall.start();
    int answered = 0;
    for (int i = 0; i < n; ++i) {
        ui::QueryDevice(QStringLiteral("B1"));
        if (!ui::Link().TimedOut)
            ++answered;
    }
    const double seconds = wall.nsecsElapsed() / 1e9;
    const double cpu = cpuSeconds() - cpu0;
    const double rate = n / seconds;
    std::printf("exchange over SimulatedLine @19200: %d of %d answered, %.1f exchanges/s, line "
                "limit %.1f/s (%d+%d bytes), ratio %.3f (goal >= 0.95)\n",
                answered, n, rate, lineLimit, int(query.size()), int(reply.size()),
                rate / lineLimit);
    std::printf("CPU time per exchange: %.3f ms (%.1f%% of the exchange's wall time)\n",
                cpu / n * 1e3, 100.0 * cpu / seconds);
    s.P1->setPortOpen(false);
    platform::PortMap::instance().setPorts({});
}

// Microseconds a line costs: adding it and painting the box once, the median of many batches.
double appendCost(ui::LogView& view, int linesBefore) {
    view.clear();
    for (int i = 0; i < linesBefore; ++i)
        view.addLine(QStringLiteral("00:00.0  Sent: filler line"));
    std::vector<double> batches;
    for (int b = 0; b < 21; ++b) {
        QElapsedTimer t;
        t.start();
        for (int i = 0; i < 100; ++i) {
            view.addLine(QStringLiteral("00:00.0  Rply: (STX)2105A1(NUL)1(NUL)cc(ETX)"));
            // The box moves its scroll bar at the next pass of the event loop: count that too.
            QCoreApplication::sendPostedEvents(&view, QEvent::MetaCall);
            view.viewport()->repaint();
        }
        batches.push_back(t.nsecsElapsed() / 1e3 / 100);
    }
    std::sort(batches.begin(), batches.end());
    return batches[batches.size() / 2];
}

void benchDetails() {
    ui::LogView view;
    view.resize(600, 300);
    view.show();
    const double at100 = appendCost(view, 100);
    const double at100k = appendCost(view, 100'000);
    std::printf("Details box: a line (added and painted) costs %.1f us at 100 lines and %.1f us "
                "at 100,000 lines (ratio %.2f)\n",
                at100, at100k, at100k / at100);
}

} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QTemporaryDir home;
    qputenv("TELVO_HOME", home.path().toUtf8());
    platform::InstallScriptedPlatform();
    platform::Clock::instance().setVirtual(false);
    benchExchange();
    benchDetails();
    return 0;
}
