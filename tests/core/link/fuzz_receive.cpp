// Fuzz entry for what comes off the serial line: the program's receive handler and the device's
// frame reader both take any bytes. Invariants: a finished reply ends in ETX, runs from STX unless
// it is a stray ETX, and holds neither line ends nor backspaces; the device never crashes and
// answers only with frames, text or noise. Built without libFuzzer, main() runs the entry over
// awkward inputs and a seeded random stream so that ctest keeps it honest.

#include "Device.h"

#include "core/config/IniFile.h"
#include "core/link/Protocol.h"
#include "core/link/ReceiveRouter.h"

#include <QFile>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

using namespace telvo::core;

namespace {

void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "fuzz_receive: broken invariant: %s\n", what);
        std::abort();
    }
}

struct Sink : ReceiveSink {
    void EchoReceived(const QString&) override {}
    void ReplyReceived() override {}
    void PromptSeen() override {}
};

// The device half needs the sample ini; a run without it would fuzz only half, so it stops loudly.
QStringList& sampleIni() {
    static QStringList lines = [] {
        QString root = qEnvironmentVariable("TELVO_SOURCE_DIR");
        if (root.isEmpty())
            root = QStringLiteral(TELVO_SOURCE_ROOT);
        QFile f(root + QStringLiteral("/data/Telvo.ini"));
        if (!f.open(QIODevice::ReadOnly)) {
            std::fprintf(stderr, "fuzz_receive: cannot read %s\n", qPrintable(f.fileName()));
            std::abort();
        }
        return SplitTextLines(f.readAll());
    }();
    return lines;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const QString text = QString::fromLatin1(bytes);
    for (int mode = 0; mode < 4; ++mode) {
        LinkState link;
        link.ConsoleActive = mode & 2;
        link.SentFrame = BuildFrame(QStringLiteral("20"), QStringLiteral("A1") + NUL());
        ConsoleText ldr, dbg;
        Sink sink;
        // Whole, and in two pieces: the handler keeps its state between arrivals.
        const qsizetype cut = text.size() / 2;
        RouteReceived(text.left(cut), mode & 1, link, ldr, dbg, sink);
        RouteReceived(text.mid(cut), mode & 1, link, ldr, dbg, sink);
        if (!link.Reply.isEmpty()) {
            // A stray ETX makes a reply of itself alone, as designed; any other runs from STX.
            require(link.Reply.back() == QChar(3) &&
                        (link.Reply.size() == 1 || link.Reply.front() == QChar(2)),
                    "reply frame");
            require(!link.Reply.contains(QChar(13)) && !link.Reply.contains(QChar(10)) &&
                        !link.Reply.contains(QChar(8)),
                    "no line end or backspace in a reply");
        }
        require(ldr.holdsReady() ==
                    ldr.text().contains(QStringLiteral("frk file now"), Qt::CaseInsensitive),
                "ready mark agrees with the box");
    }
    {
        vorix::sim::Device device(sampleIni());
        qint64 now = 0;
        for (qsizetype i = 0; i < bytes.size(); i += 7) {
            now += 1000;
            device.receive(bytes.mid(i, 7), now);
        }
        device.advance(now + 60'000'000);
        (void)device.takeOutput();
    }
    return 0;
}

#include "common/FuzzCorpus.h"

#ifndef TELVO_LIBFUZZER
int main() {
    const char* awkward[] = {
        "",
        "\x02",
        "\x03",
        "\x02\x03",
        "\x02"
        "2105A1\0"
        "1\0"
        "cc\x03",
        "\x02"
        "21\r\n05\x08"
        "A1\x03",
        "Load frk File now.\x08\x08",
        "Failure restart.",
        "\x02"
        "3005A3\0"
        "6\0\x03",
        "\x02"
        "30ffA1\0\x03",
        "\x02"
        "2003ZZ\0\x03garbage\x02",
        ">>>\r\n>",
        "\\\x08/\x08|\x08-\x08",
    };
    for (const char* a : awkward)
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(a), std::strlen(a) + 1);
    std::mt19937 rng(20261122);
    for (int run = 0; run < 300; ++run) {
        std::vector<uint8_t> buf(rng() % 300);
        for (auto& b : buf) {
            // Frame markers and the loader's words turn up often enough to matter.
            const unsigned r = rng() % 10;
            b = r == 0 ? 2 : r == 1 ? 3 : uint8_t(rng());
        }
        LLVMFuzzerTestOneInput(buf.data(), buf.size());
    }
    std::puts("fuzz_receive: corpus passed");
    if (telvo::test::FeedCorpus("receive", LLVMFuzzerTestOneInput) == 0)
        return 1;
    return 0;
}
#endif
