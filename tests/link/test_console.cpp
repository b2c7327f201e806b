// The console boxes (DBG and LDR) follow the line by redoing only the tail that changed; what
// they show stays exactly what re-setting the whole box would show.

#include "common/Fixture.h"

#include "core/link/ReceiveRouter.h"
#include "firmware/LDR.h"
#include "link/DBG.h"
#include "platform/serial/SimulatedLine.h"

#include <random>

using namespace telvo;
using namespace telvo::test;

namespace {

class NoSink : public core::ReceiveSink {
public:
    void EchoReceived(const QString&) override {}
    void ReplyReceived() override {}
    void PromptSeen() override { ui::dbg().MoveCursorToEnd(); }
};

// What a box given `text` at once shows.
QString setAtOnce(const QString& text) {
    QPlainTextEdit box;
    box.setPlainText(text);
    return box.toPlainText();
}

class ConsoleBoxes : public RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        ui::Link().ConsoleActive = true;
    }
    // One receive event, as the port's handler routes it.
    void receive(const QString& input, bool syncLdr = true, bool syncDbg = true) {
        NoSink sink;
        core::RouteReceived(input, true, ui::Link(), ui::G().ldrText, ui::G().dbgText, sink);
        if (syncLdr)
            ui::ldr().SyncText();
        if (syncDbg)
            ui::dbg().SyncText();
    }
    QString dbgShown() { return ui::dbg().Text1->toPlainText(); }
    QString ldrShown() { return ui::ldr().Text1->toPlainText(); }
};

TEST(ConsoleText, KeptSinceCountsTheUntouchedHead) {
    core::ConsoleText t;
    t.setText(QStringLiteral("abc"));
    const quint64 r = t.revision();
    t.append(QLatin1Char('d'));
    EXPECT_EQ(t.keptSince(r), 4);
    t.removeLast();
    t.removeLast();
    t.append(QLatin1Char('x'));
    EXPECT_EQ(t.keptSince(r), 2);
    EXPECT_EQ(t.keptSince(t.revision()), 3);
    t.setText(QStringLiteral("abx"));
    EXPECT_EQ(t.keptSince(r), 0);
    EXPECT_EQ(t.keptSince(t.revision()), 3);
}

TEST_F(ConsoleBoxes, BackspaceAcrossALineBreakShowsAsBefore) {
    receive(QStringLiteral("ab\r"));
    receive(QStringLiteral("\n"));
    EXPECT_EQ(dbgShown(), QStringLiteral("ab\n"));
    receive(QStringLiteral("\b"));
    EXPECT_EQ(dbgShown(), QStringLiteral("ab\n"));
    receive(QStringLiteral("\bc\r\r\n"));
    EXPECT_EQ(dbgShown(), QStringLiteral("abc\n\n"));
    EXPECT_EQ(ldrShown(), dbgShown());
}

// Random traffic with line ends split across events, backspaces, clears and boxes that skip
// events: after every event each box shows what setting it at once would.
TEST_F(ConsoleBoxes, RandomTrafficShowsWhatSettingAtOnceShows) {
    const QString alphabet = QStringLiteral("ab> |-\r\n\b\b\r\n") + QChar(0x2029) + QChar(0xE9) +
                             QString::fromUtf16(u"\U0001F600");
    std::mt19937 rng(7);
    for (int event = 0; event < 1500; ++event) {
        if (rng() % 200 == 0) {
            ui::G().dbgText.clear();
            ui::G().ldrText.clear();
        }
        QString input;
        for (int n = int(rng() % 6) + 1; n > 0; --n)
            input += alphabet.at(int(rng() % alphabet.size()));
        const bool syncLdr = rng() % 4 != 0;
        const bool syncDbg = rng() % 3 != 0;
        receive(input, syncLdr, syncDbg);
        if (syncDbg) {
            ASSERT_EQ(dbgShown(), setAtOnce(ui::G().dbgText.text())) << "event " << event;
        }
        if (syncLdr) {
            ASSERT_EQ(ldrShown(), setAtOnce(ui::G().ldrText.text())) << "event " << event;
        }
    }
}

// A megabyte session: lines, prompts, spinners wiped by backspaces, CR and LF in separate
// events. Both boxes end with the last lines of the text they were fed, whole, and show exactly
// that; the first lines went from the top as the boxes passed their limit.
TEST_F(ConsoleBoxes, MegabyteSessionKeepsItsLastLinesWhole) {
    QString expected;
    int line = 0;
    while (expected.size() < 1024 * 1024) {
        const QString text = QStringLiteral("line %1: status 0x%2 ok")
                                 .arg(line)
                                 .arg(line * 7, 4, 16, QLatin1Char('0'));
        receive(text + QStringLiteral("|\b/\b-\b\\\b"));
        if (line % 3 == 0) {
            receive(QStringLiteral("\r"));
            receive(QStringLiteral("\n> "));
        } else {
            receive(QStringLiteral("\r\n> "));
        }
        expected += text + QStringLiteral("\r\n> ");
        ++line;
    }
    const QString kept = ui::G().dbgText.text();
    ASSERT_EQ(ui::G().ldrText.text(), kept);
    EXPECT_LE(kept.size(), core::ConsoleText::kMaxChars);
    EXPECT_GE(kept.size(), core::ConsoleText::kKeepChars - 64);
    EXPECT_TRUE(kept.startsWith(QStringLiteral("> line "))) << "the first line kept is whole";
    ASSERT_TRUE(expected.endsWith(kept));
    EXPECT_EQ(ui::Link().SpinnerCount, 32767) << "a count that stops, never an overflow";
    QString visible = kept;
    visible.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    EXPECT_EQ(dbgShown(), visible);
    EXPECT_EQ(ldrShown(), visible);
    EXPECT_EQ(dbgShown(), setAtOnce(kept));
    EXPECT_EQ(ui::dbg().Text1->textCursor().position(),
              ui::dbg().Text1->document()->characterCount() - 1);
}

// Noise outside a transfer, through the port and its handler: 100,000 spinner characters and
// backspaces, which no watchdog tick resets, end in a count at its largest value, never in a
// run-time error, and what follows them is still heard.
class SpinnerNoise : public RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        initControls();
        attachPeer();
    }
};

// Pins a departure (docs/ARCHITECTURE.md): the count stops at its top instead of overflowing.
TEST_F(SpinnerNoise, HundredThousandSpinnerCharactersCountToTheTopWithoutAnError) {
    QByteArray noise;
    for (int i = 0; i < 25000; ++i)
        noise += "|/-\\";
    noise += QByteArray(100000, '\b');
    ui::Link().ConsoleActive = true; // the console on: the spinner is seen and shown
    line(1)->peerSend(noise + "alive>");
    ASSERT_TRUE(
        waitUntil([] { return ui::G().dbgText.text().endsWith(QStringLiteral("alive>")); }));
    EXPECT_EQ(ui::Link().SpinnerCount, 32767);
    ui::Link().ConsoleActive = false; // idle: the backspaces alone still count
    ui::Link().SpinnerCount = 0;
    line(1)->peerSend(QByteArray(100000, '\b') + platform::DeviceFrame("01", QByteArray("1\0"
                                                                                        "30\0",
                                                                                        5)));
    ASSERT_TRUE(waitUntil([] { return !ui::Link().Reply.isEmpty(); }));
    EXPECT_EQ(ui::Link().SpinnerCount, 32767);
    EXPECT_EQ(scripted->messageTexts(), QStringList());
}

} // namespace
