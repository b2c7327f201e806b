// The cost of one console line (one receive event routed into both console boxes, DBG and LDR,
// and the boxes brought up to date) when the boxes hold 1 KB and when they hold 1 MB of text,
// and their ratio: a box that only appends keeps it near 1.

#include "CpuTime.h"
#include "app/Globals.h"
#include "core/link/ReceiveRouter.h"
#include "firmware/LDR.h"
#include "link/DBG.h"

#include <QApplication>
#include <cstdio>

using namespace telvo;

namespace {

class NoSink : public core::ReceiveSink {
public:
    void EchoReceived(const QString&) override {}
    void ReplyReceived() override {}
    void PromptSeen() override { ui::dbg().MoveCursorToEnd(); }
};

// One receive event, as the port's handler routes it.
void receive(const QString& input) {
    NoSink sink;
    core::RouteReceived(input, true, ui::Link(), ui::G().ldrText, ui::G().dbgText, sink);
    ui::ldr().SyncText();
    ui::dbg().SyncText();
    QCoreApplication::processEvents();
}

QString line(int i) {
    return QStringLiteral("line %1: status ok\r\n> ").arg(i, 6);
}

// Seconds of CPU per line with the boxes holding about `size` characters: the boxes are filled
// (untimed), then a short batch of lines is timed; repeated so the total is well above the
// clock's grain.
double perLine(qsizetype size) {
    const int batches = 100, perBatch = 20;
    QString base;
    for (int i = 0; base.size() < size; ++i)
        base += line(i);
    base.truncate(size);
    double cpu = 0;
    for (int b = 0; b < batches; ++b) {
        ui::G().dbgText.setText(base);
        ui::G().ldrText.setText(base);
        ui::dbg().SyncText();
        ui::ldr().SyncText();
        QCoreApplication::processEvents();
        const double t0 = cpuSeconds();
        for (int i = 0; i < perBatch; ++i)
            receive(line(i));
        cpu += cpuSeconds() - t0;
    }
    return cpu / (batches * perBatch);
}

} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    ui::Link().ConsoleActive = true;
    ui::dbg().show();
    ui::ldr().show();
    perLine(1024); // warm up
    const double small = perLine(1024);
    const double large = perLine(1024 * 1024);
    std::printf("console line, boxes holding 1 KB: %.1f us CPU\n", small * 1e6);
    std::printf("console line, boxes holding 1 MB: %.1f us CPU\n", large * 1e6);
    std::printf("ratio 1 MB / 1 KB: %.2f (goal <= 1.1)\n", large / small);
    return 0;
}
