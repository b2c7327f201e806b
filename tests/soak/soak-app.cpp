// The program as a user runs it, for the soak: the same start-up and windows, plus a click on
// "Get Current State" every few seconds (as a user who keeps an eye on a device would), the
// answer to any message box that comes up, and on SIGUSR2 one line on standard output with its
// counts: refreshes, boxes, live timers (`Timer` objects, the clock's pending events and the Qt
// timers of every object in the window tree), and the Details box's lines and their size; on
// SIGUSR1 it first empties the Details box, as a double-click on it does, and hands the freed
// memory back to the system, so that what grew beside the box can be measured. Memory and
// descriptors are read from /proc.
// Usage: telvo-soak-app [SECONDS] [program words...]   (SECONDS: between refreshes, default 5)

// Its total is read to tell the style's cache of drawn pieces from memory the program holds.
#define Q_TEST_QPIXMAPCACHE
#include <QPixmapCache>

#include "DevicePeer.h"
#include "app/Globals.h"
#include "app/LogView.h"
#include "app/Program.h"
#include "platform/clock/Clock.h"
#include "platform/clock/Timer.h"
#include "settings/SCL.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QDir>
#include <QMessageBox>
#include <QSocketNotifier>
#include <QTimer>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int g_pipe[2] = {-1, -1};

void onSignal(int sig) {
    const char c = char(sig);
    [[maybe_unused]] const ssize_t n = ::write(g_pipe[1], &c, 1);
}

// Open descriptors, counted between two handlers of the event loop, where no routine holds a
// file open for a moment (the log opens and closes its file for every line). The listing's own
// descriptor is not counted.
int openDescriptors() {
    return int(QDir(QStringLiteral("/proc/self/fd"))
                   .entryList(QDir::Files | QDir::System | QDir::NoDotAndDotDot)
                   .size()) -
           1;
}

int qtTimers() {
    QAbstractEventDispatcher* d = QAbstractEventDispatcher::instance();
    if (!d)
        return 0;
    qsizetype n = 0;
    const auto add = [&](QObject* o) {
        n += d->registeredTimers(o).size();
        for (QObject* c : o->findChildren<QObject*>())
            n += d->registeredTimers(c).size();
    };
    add(qApp);
    add(&telvo::platform::Clock::instance());
    for (QWidget* w : QApplication::topLevelWidgets())
        if (!w->parent())
            add(w);
    return int(n);
}

struct Soak {
    int refreshes = 0;
    int boxes = 0;
    bool busy = false;
    QTimer refresh;
    QTimer boxWatch;

    // The Details box keeps every line of the run (a double-click empties it): its lines and
    // what they hold (their text and the index over them) are counted apart from the rest.
    void counts() const {
        const telvo::core::LogLines& log = telvo::ui::scl().D1->lines();
        // What the heap holds in use, apart from what it keeps free: growth here is memory
        // held, growth of the resident size alone is memory the heap could not give back.
        const struct mallinfo2 heap = ::mallinfo2();
        std::printf("counts refreshes=%d boxes=%d fds=%d timers=%d events=%zu qtimers=%d "
                    "details=%lld detailskb=%lld heapkb=%zu pixmapkb=%d\n",
                    refreshes, boxes, openDescriptors(), telvo::platform::Timer::LiveCount(),
                    telvo::platform::Clock::instance().pendingCount(), qtTimers(),
                    static_cast<long long>(log.count()), static_cast<long long>(log.bytes() / 1024),
                    (heap.uordblks + heap.hblkhd) / 1024, QPixmapCache::totalUsed());
        std::fflush(stdout);
    }

    void tick() {
        if (busy)
            return;
        QPushButton* b = telvo::ui::scl().cmdRefreshAll;
        if (!b || !b->isVisible() || !b->isEnabled())
            return;
        busy = true;
        ++refreshes;
        b->click(); // runs the whole refresh, yielding, before it returns
        busy = false;
    }

    // A box a user would answer: Yes or OK, as the README's recoveries say.
    void answerBox() {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box)
            return;
        ++boxes;
        std::printf("box %s\n", qPrintable(box->text().simplified()));
        std::fflush(stdout);
        QAbstractButton* yes = box->button(QMessageBox::Yes);
        QAbstractButton* ok = box->button(QMessageBox::Ok);
        if (yes)
            yes->click();
        else if (ok)
            ok->click();
        else
            box->reject();
    }
};

} // namespace

int main(int argc, char** argv) {
    int seconds = 5;
    if (argc > 1 && std::atoi(argv[1]) > 0) {
        seconds = std::atoi(argv[1]);
        --argc;
        ++argv;
        argv[0] = argv[-1];
    }
    // Caught from the start: a count asked for before the window system is up waits in the pipe.
    ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, g_pipe);
    struct sigaction sa {};
    sa.sa_handler = onSignal;
    sa.sa_flags = SA_RESTART;
    sigemptyset(&sa.sa_mask);
    ::sigaction(SIGUSR2, &sa, nullptr);
    ::sigaction(SIGUSR1, &sa, nullptr);
    Soak soak;
    return telvo::ui::RunProgram(argc, argv, vorix::sim::MakeDefaultPeer, [&soak, seconds] {
        auto* n = new QSocketNotifier(g_pipe[0], QSocketNotifier::Read, qApp);
        QObject::connect(n, &QSocketNotifier::activated, qApp, [&soak] {
            char c = 0;
            if (::read(g_pipe[0], &c, 1) != 1)
                return;
            if (c == char(SIGUSR1)) {
                telvo::ui::scl().D1->clear();
                ::malloc_trim(0);
            }
            soak.counts();
        });
        soak.refresh.setInterval(seconds * 1000);
        QObject::connect(&soak.refresh, &QTimer::timeout, qApp, [&soak] { soak.tick(); });
        soak.refresh.start();
        soak.boxWatch.setInterval(500);
        QObject::connect(&soak.boxWatch, &QTimer::timeout, qApp, [&soak] { soak.answerBox(); });
        soak.boxWatch.start();
    });
}
