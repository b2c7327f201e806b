// telvo-cli apply against vorix-sim, read from the frames the host put on the wire: a setting is
// set only when it differs, --check sets nothing, and a refused value stops the run before the
// first frame.

#include "CliFixture.h"

#include <QJsonArray>
#include <QJsonObject>

using namespace telvo;
using namespace telvo::test;

namespace {

class CliApply : public CliEndToEnd {
protected:
    // The host's frames since `from` (a count taken before the run).
    QStringList framesSince(SimProcess& dev, qsizetype from) { return hostFrames(dev).mid(from); }
    static QStringList setFrames(const QStringList& frames) {
        QStringList out;
        for (const QString& f : frames)
            if (f.startsWith(QLatin1String("(STX)30")))
                out << f;
        return out;
    }
    QStringList stderrLines(const CliResult& r) {
        QStringList l = QString::fromLocal8Bit(r.err).split(QLatin1Char('\n'));
        l.removeAll(QString());
        return l;
    }
};

TEST_F(CliApply, OnlyTheSettingThatDiffersIsSetAndASecondRunSetsNothing) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const qsizetype start = hostFrames(dev).size();
    const CliResult r = on(dev, {QStringLiteral("apply"), QStringLiteral("Brightness=0"),
                                 QStringLiteral("Noise Reduction=medium")});
    ASSERT_EQ(r.exit, 0) << r.err.toStdString();
    EXPECT_EQ(r.lines(),
              (QStringList{QStringLiteral("Brightness: unchanged (0)"),
                           QStringLiteral("Noise Reduction: changed from Off to Medium")}));
    const QStringList first = framesSince(dev, start);
    EXPECT_EQ(setFrames(first), QStringList{QStringLiteral("(STX)3005B6(NUL)2(NUL)(ETX)")});
    // Each setting read before, the one set read back after.
    EXPECT_EQ(first.count(QStringLiteral("(STX)2003B1(NUL)(ETX)")), 1);
    EXPECT_EQ(first.count(QStringLiteral("(STX)2003B6(NUL)(ETX)")), 2);

    const qsizetype again = hostFrames(dev).size();
    const CliResult second = on(dev, {QStringLiteral("apply"), QStringLiteral("Brightness=0"),
                                      QStringLiteral("Noise Reduction=2")});
    ASSERT_EQ(second.exit, 0) << second.err.toStdString();
    EXPECT_EQ(second.lines(), (QStringList{QStringLiteral("Brightness: unchanged (0)"),
                                           QStringLiteral("Noise Reduction: unchanged (Medium)")}));
    EXPECT_TRUE(setFrames(framesSince(dev, again)).isEmpty())
        << framesSince(dev, again).join(u'\n').toStdString();
}

TEST_F(CliApply, ANumberIsComparedAtItsDecimals) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const CliResult set = on(dev, {QStringLiteral("apply"), QStringLiteral("Red Gain=1.5")});
    ASSERT_EQ(set.exit, 0) << set.err.toStdString();
    EXPECT_EQ(set.lines(), QStringList{QStringLiteral("Red Gain: changed from 0.00 to 1.50")});
    const qsizetype from = hostFrames(dev).size();
    const CliResult same = on(dev, {QStringLiteral("apply"), QStringLiteral("Red Gain = 1.50"),
                                    QStringLiteral("Zoom=1")});
    ASSERT_EQ(same.exit, 0) << same.err.toStdString();
    EXPECT_EQ(same.lines(), (QStringList{QStringLiteral("Red Gain: unchanged (1.50)"),
                                         QStringLiteral("Zoom: unchanged (1.00)")}));
    EXPECT_TRUE(setFrames(framesSince(dev, from)).isEmpty());
}

TEST_F(CliApply, CheckSendsNoSetAndTellsWhatWouldChange) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const CliResult differs = on(
        dev, {QStringLiteral("apply"), QStringLiteral("--check"), QStringLiteral("Brightness=12"),
              QStringLiteral("Noise Reduction=Off"), QStringLiteral("Red Gain=.5")});
    EXPECT_EQ(differs.exit, 6) << differs.err.toStdString();
    EXPECT_EQ(differs.lines(),
              (QStringList{QStringLiteral("Brightness: would change from 0 to 12"),
                           QStringLiteral("Noise Reduction: unchanged (Off)"),
                           QStringLiteral("Red Gain: would change from 0.00 to 0.50")}));
    const CliResult same =
        on(dev, {QStringLiteral("apply"), QStringLiteral("--check"), QStringLiteral("Brightness=0"),
                 QStringLiteral("Noise Reduction=off")});
    EXPECT_EQ(same.exit, 0) << same.err.toStdString();
    EXPECT_EQ(same.lines(), (QStringList{QStringLiteral("Brightness: unchanged (0)"),
                                         QStringLiteral("Noise Reduction: unchanged (Off)")}));
    // Reads only, from the connection on.
    EXPECT_TRUE(setFrames(hostFrames(dev)).isEmpty()) << hostFrames(dev).join(u'\n').toStdString();
    EXPECT_TRUE(hostFrames(dev).contains(QStringLiteral("(STX)2003B1(NUL)(ETX)")));
}

TEST_F(CliApply, ARefusedValueInAFileStopsTheRunBeforeAnyFrameAndEveryBadLineIsNamed) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    writeHomeFile(QStringLiteral("rack.conf"), "# rack 7\n"
                                               "Brightness=10\n"
                                               "Contrast = 99\n"
                                               "\n"
                                               "Noise Reduction=Extreme\n"
                                               "Warp Drive=1\n"
                                               "Model=X\n"
                                               "Audio Delay=40\n");
    const CliResult r = on(dev, {QStringLiteral("apply"), QStringLiteral("--file"),
                                 homeFile(QStringLiteral("rack.conf"))});
    EXPECT_EQ(r.exit, 2);
    EXPECT_TRUE(r.out.isEmpty());
    EXPECT_EQ(QString::fromLocal8Bit(r.err).trimmed(),
              QStringLiteral("telvo-cli: ") + dev.path() +
                  QStringLiteral(": refused 4 setting(s), nothing was sent: "
                                 "Contrast takes a number from -50 to 50, not 99 (line 3); "
                                 "Noise Reduction has no value Extreme: it takes one of Off (0), "
                                 "Low (1), Medium (2), High (3) (line 5); "
                                 "no setting named Warp Drive (line 6); "
                                 "Model cannot be set (line 7)"));
    // Not even the connection's power query.
    EXPECT_TRUE(dev.frames().isEmpty()) << dev.frames().join(u'\n').toStdString();
    // The same from the command line's words; and a word that is no NAME=VALUE is usage.
    const CliResult words =
        on(dev, {QStringLiteral("apply"), QStringLiteral("Brightness=10"),
                 QStringLiteral("Test Pattern=Off"), QStringLiteral("Restart=Yes")});
    EXPECT_EQ(words.exit, 2);
    EXPECT_TRUE(
        words.err.contains("Test Pattern is write only: apply cannot read it to compare (use set); "
                           "Restart is an action, not a setting (use set)"))
        << words.err.toStdString();
    EXPECT_EQ(on(dev, {QStringLiteral("apply"), QStringLiteral("Brightness")}).exit, 2);
    EXPECT_TRUE(dev.frames().isEmpty());
}

TEST_F(CliApply, NoDeviceIsExit3AfterTheValuesWereChecked) {
    const QString none = emptyPort();
    const CliResult r = cli(
        {QStringLiteral("--port"), none, QStringLiteral("apply"), QStringLiteral("Brightness=1")});
    EXPECT_EQ(r.exit, 3);
    EXPECT_TRUE(r.err.contains("no device found")) << r.err.toStdString();
    EXPECT_TRUE(r.out.isEmpty());
    // A refused value is told first: no device is looked for.
    const CliResult bad = cli({QStringLiteral("--port"), none, QStringLiteral("apply"),
                               QStringLiteral("Brightness=100")});
    EXPECT_EQ(bad.exit, 2);
    EXPECT_FALSE(bad.err.contains("no device found")) << bad.err.toStdString();
}

TEST_F(CliApply, AFileThatIsNeitherKindIsExit4BeforeAnyFrame) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    writeHomeFile(QStringLiteral("notes.txt"), "Brightness=10\nturn the contrast up a bit\n");
    const CliResult r = on(dev, {QStringLiteral("apply"), QStringLiteral("-f"),
                                 homeFile(QStringLiteral("notes.txt"))});
    EXPECT_EQ(r.exit, 4);
    EXPECT_TRUE(
        r.err.contains("notes.txt is not a file apply takes: line 2 is neither NAME=VALUE nor a "
                       "saved setting: turn the contrast up a bit"))
        << r.err.toStdString();
    EXPECT_EQ(on(dev, {QStringLiteral("apply"), QStringLiteral("-f"),
                       homeFile(QStringLiteral("none.txt"))})
                  .exit,
              4);
    // A save file of state lines alone has nothing apply takes.
    writeHomeFile(QStringLiteral("states.txt"),
                  "SetState=Input Video 1,4C1; SetParameter=Brightness, B10\r\n");
    const CliResult states = on(dev, {QStringLiteral("apply"), QStringLiteral("-f"),
                                      homeFile(QStringLiteral("states.txt"))});
    EXPECT_EQ(states.exit, 4);
    EXPECT_TRUE(states.err.contains(
        "holds no plain setting: its 1 line(s) of 1 state(s) (Input Video 1) are for restore"))
        << states.err.toStdString();
    EXPECT_TRUE(dev.frames().isEmpty());
}

TEST_F(CliApply, AFileWithCommentsAndBlankLinesAndANameGivenTwice) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    writeHomeFile(QStringLiteral("look.conf"), "# the lobby's look\r\n"
                                               "\r\n"
                                               "  Brightness = 5\r\n"
                                               "   # warmer\r\n"
                                               "Color Temperature=5500K\r\n"
                                               "brightness=7\r\n");
    const qsizetype from = hostFrames(dev).size();
    const CliResult r =
        on(dev, {QStringLiteral("apply"),
                 QStringLiteral("--file=") + homeFile(QStringLiteral("look.conf"))});
    ASSERT_EQ(r.exit, 0) << r.err.toStdString();
    // Named twice: the last value, in the place it was first named.
    EXPECT_EQ(r.lines(), (QStringList{QStringLiteral("Brightness: changed from 0 to 7"),
                                      QStringLiteral("Color Temperature: unchanged (5500K)")}));
    EXPECT_TRUE(stderrLines(r).contains(QStringLiteral(
        "apply: Brightness is named more than once: the last value, 7 (line 6), is applied")))
        << r.err.toStdString();
    EXPECT_EQ(setFrames(framesSince(dev, from)),
              QStringList{QStringLiteral("(STX)3005B1(NUL)7(NUL)(ETX)")});
}

TEST_F(CliApply, ASaveFilePutsBackThePlainSettingsAndLeavesTheStatesToRestore) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const QString file = homeFile(QStringLiteral("Settings-rack7.txt"));
    ASSERT_EQ(on(dev, {QStringLiteral("save"), file}).exit, 0);
    ASSERT_EQ(on(dev, {QStringLiteral("set"), QStringLiteral("OSD Timeout=60"),
                       QStringLiteral("Menu Language=Deutsch"), QStringLiteral("Brightness=20")})
                  .exit,
              0);
    const qsizetype from = hostFrames(dev).size();
    const CliResult r = on(dev, {QStringLiteral("apply"), QStringLiteral("--file"), file});
    ASSERT_EQ(r.exit, 0) << r.err.toStdString();
    EXPECT_EQ(r.lines(),
              (QStringList{QStringLiteral("OSD Timeout: changed from 60 to 5"),
                           QStringLiteral("OSD Position: unchanged (Top Left)"),
                           QStringLiteral("Menu Language: changed from Deutsch to English"),
                           QStringLiteral("IR Code Set: unchanged (00)"),
                           QStringLiteral("Device Name: unchanged (V)"),
                           QStringLiteral("Front Panel Lock: unchanged (Unlocked)"),
                           QStringLiteral("Standby Timer: unchanged (0)"),
                           QStringLiteral("Fan Mode: unchanged (Auto)"),
                           QStringLiteral("Auto Power: unchanged (Off)")}));
    EXPECT_EQ(setFrames(framesSince(dev, from)),
              (QStringList{QStringLiteral("(STX)3005D1(NUL)5(NUL)(ETX)"),
                           QStringLiteral("(STX)3005D3(NUL)1(NUL)(ETX)")}));
    // The per-state lines are told, not walked: Brightness of the input stays as set.
    EXPECT_TRUE(r.err.contains(
        ": the 106 line(s) of 19 state(s) (Input Video 1, Input Video 2, Input S-Video 1, "
        "16 more) are left to restore, which switches the device into each state"))
        << r.err.toStdString();
    EXPECT_EQ(on(dev, {QStringLiteral("get"), QStringLiteral("OSD Timeout"),
                       QStringLiteral("Menu Language"), QStringLiteral("Brightness")})
                  .lines(),
              (QStringList{QStringLiteral("OSD Timeout=5"), QStringLiteral("Menu Language=English"),
                           QStringLiteral("Brightness=20")}));
}

TEST_F(CliApply, JsonIsOneObjectWithEverySettingInTheOrderGiven) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    const CliResult r =
        on(dev, {QStringLiteral("--json"), QStringLiteral("apply"), QStringLiteral("Brightness=50"),
                 QStringLiteral("Noise Reduction=Off"), QStringLiteral("Red Gain=1.25")});
    ASSERT_EQ(r.exit, 0) << r.err.toStdString();
    ASSERT_EQ(r.objects().size(), 1) << r.out.toStdString();
    const QJsonObject o = r.objects().first();
    EXPECT_EQ(o.value(QStringLiteral("schema")), QJsonValue(1));
    EXPECT_EQ(o.value(QStringLiteral("command")).toString(), QStringLiteral("apply"));
    EXPECT_EQ(o.value(QStringLiteral("port")).toString(), dev.path());
    EXPECT_EQ(o.value(QStringLiteral("check")), QJsonValue(false));
    EXPECT_EQ(o.value(QStringLiteral("changed")), QJsonValue(true));
    const QJsonArray s = o.value(QStringLiteral("settings")).toArray();
    ASSERT_EQ(s.size(), 3);
    EXPECT_EQ(s.at(0).toObject(),
              (QJsonObject{{QStringLiteral("name"), QStringLiteral("Brightness")},
                           {QStringLiteral("before"), 0},
                           {QStringLiteral("after"), 50},
                           {QStringLiteral("beforeText"), QStringLiteral("0")},
                           {QStringLiteral("afterText"), QStringLiteral("50")},
                           {QStringLiteral("changed"), true}}));
    EXPECT_EQ(s.at(1).toObject(),
              (QJsonObject{{QStringLiteral("name"), QStringLiteral("Noise Reduction")},
                           {QStringLiteral("before"), QStringLiteral("Off")},
                           {QStringLiteral("after"), QStringLiteral("Off")},
                           {QStringLiteral("beforeText"), QStringLiteral("Off")},
                           {QStringLiteral("afterText"), QStringLiteral("Off")},
                           {QStringLiteral("changed"), false}}));
    EXPECT_EQ(s.at(2).toObject().value(QStringLiteral("after")), QJsonValue(1.25));
    EXPECT_EQ(s.at(2).toObject().value(QStringLiteral("afterText")),
              QJsonValue(QStringLiteral("1.25")));

    // --check: "after" is the wanted value, "changed" what would change.
    const qsizetype from = hostFrames(dev).size();
    const CliResult c =
        on(dev, {QStringLiteral("--json"), QStringLiteral("apply"), QStringLiteral("--check"),
                 QStringLiteral("Noise Reduction=3"), QStringLiteral("Brightness=50")});
    EXPECT_EQ(c.exit, 6) << c.err.toStdString();
    ASSERT_EQ(c.objects().size(), 1);
    const QJsonObject co = c.objects().first();
    EXPECT_EQ(co.value(QStringLiteral("check")), QJsonValue(true));
    EXPECT_EQ(co.value(QStringLiteral("changed")), QJsonValue(true));
    const QJsonArray cs = co.value(QStringLiteral("settings")).toArray();
    ASSERT_EQ(cs.size(), 2);
    EXPECT_EQ(cs.at(0).toObject().value(QStringLiteral("name")).toString(),
              QStringLiteral("Noise Reduction"));
    EXPECT_EQ(cs.at(0).toObject().value(QStringLiteral("after")).toString(),
              QStringLiteral("High"));
    EXPECT_EQ(cs.at(0).toObject().value(QStringLiteral("changed")), QJsonValue(true));
    EXPECT_EQ(cs.at(1).toObject().value(QStringLiteral("changed")), QJsonValue(false));
    EXPECT_TRUE(setFrames(framesSince(dev, from)).isEmpty());
    const CliResult none = on(dev, {QStringLiteral("--json"), QStringLiteral("apply"),
                                    QStringLiteral("--check"), QStringLiteral("Brightness=50")});
    EXPECT_EQ(none.exit, 0);
    EXPECT_EQ(none.objects().value(0).value(QStringLiteral("changed")), QJsonValue(false));
}

TEST_F(CliApply, ASetTheDeviceRefusesIsExit1NamingItAndTheOthersAreStillApplied) {
    SimProcess& dev = sim(QStringLiteral("dev"));
    ASSERT_TRUE(dev.running());
    replaceIniLine("Brightness = [1] B1 ; -50..50 ;", "Brightness = [1] B1 ; -50..9999 ;");
    const CliResult r = on(dev, {QStringLiteral("--json"), QStringLiteral("apply"),
                                 QStringLiteral("Brightness=9999"), QStringLiteral("Contrast=3")});
    EXPECT_EQ(r.exit, 1);
    ASSERT_EQ(r.objects().size(), 1) << r.out.toStdString();
    const QJsonObject o = r.objects().first();
    EXPECT_EQ(o.value(QStringLiteral("exit")), QJsonValue(1));
    EXPECT_EQ(
        o.value(QStringLiteral("error")).toString(),
        QStringLiteral("could not apply 1 setting(s): Brightness: Range Error. Attempt to modify a "
                       "device setting with vlaue out of range"));
    EXPECT_EQ(o.value(QStringLiteral("failed")).toArray(),
              QJsonArray{QStringLiteral("Brightness")});
    const QJsonArray s = o.value(QStringLiteral("settings")).toArray();
    ASSERT_EQ(s.size(), 2);
    EXPECT_EQ(s.at(0).toObject().value(QStringLiteral("changed")), QJsonValue(false));
    EXPECT_EQ(s.at(1).toObject().value(QStringLiteral("changed")), QJsonValue(true));
    EXPECT_EQ(on(dev, {QStringLiteral("get"), QStringLiteral("Contrast")}).lines(),
              QStringList{QStringLiteral("Contrast=3")});
    // In text: what was done on standard output, the failure on standard error.
    const CliResult t = on(dev, {QStringLiteral("apply"), QStringLiteral("Brightness=9999"),
                                 QStringLiteral("Contrast=4")});
    EXPECT_EQ(t.exit, 1);
    EXPECT_EQ(t.lines(), QStringList{QStringLiteral("Contrast: changed from 3 to 4")});
    EXPECT_TRUE(t.err.contains("could not apply 1 setting(s): Brightness: Range Error."))
        << t.err.toStdString();
}

TEST_F(CliApply, AReadBackThatDoesNotShowTheValueIsAFailure) {
    // The device keeps Audio Delay with a decimal; this Telvo.ini calls it a whole number, so
    // what the device shows after the set is not the value sent.
    QByteArray device = readHomeFile(QStringLiteral("Telvo.ini"));
    device.replace("Audio Delay = [2] 6E ; INTEGER ; 0 to 250 ms",
                   "Audio Delay = [2] 6E ; 0.0..250.0 ;");
    writeHomeFile(QStringLiteral("device.ini"), device);
    SimProcess& dev = sim(QStringLiteral("dev"),
                          {QStringLiteral("--ini"), homeFile(QStringLiteral("device.ini"))});
    ASSERT_TRUE(dev.running());
    const CliResult r = on(dev, {QStringLiteral("apply"), QStringLiteral("Audio Delay=40"),
                                 QStringLiteral("Brightness=1")});
    EXPECT_EQ(r.exit, 1) << r.err.toStdString();
    EXPECT_EQ(r.lines(), QStringList{QStringLiteral("Brightness: changed from 0 to 1")});
    EXPECT_TRUE(r.err.contains(
        "could not apply 1 setting(s): Audio Delay: the device shows 40.0 after the set, not 40"))
        << r.err.toStdString();
}

} // namespace
