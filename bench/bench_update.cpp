// What the support window spends on a page from the web: line-end mending and the update-list
// cut, per megabyte, and how that grows from 1 MB to 8 MB (a ratio near 8 is linear; the
// classic cut of a page with no line ends would be quadratic).

#include "core/support/UpdateList.h"
#include "core/support/url_helper.h"

#include <QElapsedTimer>
#include <cstdio>
#include <functional>

using namespace telvo::core;

namespace {

QString listPage(qsizetype bytes) {
    QString page = QStringLiteral("HTTP/1.0 200 OK\r\nContent-Type: text/plain\r\n\r\n");
    int n = 0;
    while (page.size() < bytes)
        page += QStringLiteral("gorda_2_0_%1,http://files.example/firmware/gorda_2_0_%1.frk\n")
                    .arg(n++);
    return page;
}

double msFor(const std::function<void()>& fn) {
    QElapsedTimer t;
    t.start();
    fn();
    return double(t.nsecsElapsed()) / 1e6;
}

} // namespace

int main() {
    for (const qsizetype mb : {1, 8}) {
        const QString raw = listPage(mb * 1024 * 1024);
        QString mended;
        const double fix = msFor([&] { mended = FixLineEnds(raw); });
        qsizetype rows = 0;
        const double parse = msFor(
            [&] { rows = ParseUpdateList(mended, QStringLiteral("gorda_")).entries.size() - 1; });
        const QString garbage(mb * 1024 * 1024, QChar(u'x'));
        const double junk = msFor([&] { ParseUpdateList(garbage, QStringLiteral("gorda_")); });
        std::printf("%lld MB: FixLineEnds %.1f ms (%.0f MB/s), list of %lld rows %.1f ms, "
                    "no line ends %.1f ms\n",
                    static_cast<long long>(mb), fix, double(mb) / (fix / 1000),
                    static_cast<long long>(rows), parse, junk);
    }
    // Growth from 1 MB to 8 MB, measured once more together.
    const QString small = FixLineEnds(listPage(1024 * 1024));
    const QString large = FixLineEnds(listPage(8 * 1024 * 1024));
    const double t1 = msFor([&] { ParseUpdateList(small, QString()); });
    const double t8 = msFor([&] { ParseUpdateList(large, QString()); });
    std::printf("update list 8 MB / 1 MB time ratio: %.1f (8 is linear)\n", t8 / t1);
    return 0;
}
