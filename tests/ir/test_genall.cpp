// Gen ALL: the whole command table to a text listing, a Pronto hex list or a Pronto
// configuration file through the outside converter. Expected files are built here from the
// configuration table by a small reference encoder of the frame, not by the code under test.

#include "common/Fixture.h"

#include "LircConf.h"
#include "app/Tools.h"
#include "core/ir/Lirc.h"
#include "core/text/Classic.h"
#include "ir/IRG.h"
#include "platform/os/Launch.h"

#include <QDir>
#include <QRegularExpression>
#include <QSet>

#include <QFile>
#include <QTest>
#include <functional>

using namespace telvo;
using test::Conf;
using test::parseConf;

namespace {

QString hex4(int n) {
    return QStringLiteral("%1").arg(n, 4, 16, QLatin1Char('0')).toUpper();
}

// A device frame: leader word twice, each byte as 8 bits LSB first, the fixed tail.
QString referenceLine(int leaderWord, const QList<int>& bytes) {
    const int count = 2 + 16 * int(bytes.size()) + 4;
    QStringList w{QStringLiteral("0000"), QStringLiteral("006C"), hex4(count / 2),
                  QStringLiteral("0000"), hex4(leaderWord),       hex4(leaderWord)};
    for (int b : bytes)
        for (int bit = 0; bit < 8; ++bit)
            w << QStringLiteral("0016")
              << ((b >> bit) & 1 ? QStringLiteral("0041") : QStringLiteral("0015"));
    w << QStringLiteral("0044") << QStringLiteral("0044") << QStringLiteral("0016")
      << QStringLiteral("0001");
    return w.join(u' ');
}

// D, the characters of a value text, and the checksum: FormValue.
QString valueLine(int d, const QString& text) {
    QList<int> bytes{d};
    int sum = d;
    for (QChar c : text) {
        bytes << c.unicode();
        sum += c.unicode();
    }
    bytes << (sum & 255);
    return referenceLine(0x64, bytes);
}

// D, F and the checksum: FormAbsolute.
QString numberLine(int d, int f) {
    return referenceLine(0x64, {d, f & 255, (d + f) & 255});
}

QString codes(const QString& text) {
    QStringList c;
    for (QChar ch : text)
        c << QString::number(ch.unicode());
    return c.join(u',');
}

// Checks one Pronto line of this system: head, counts and the checksum byte of a device frame.
void checkInvariants(const QString& line) {
    const QStringList w = line.split(u' ');
    ASSERT_GE(w.size(), 4);
    EXPECT_EQ(w[0], "0000");
    EXPECT_EQ(w[1], "006C");
    EXPECT_EQ(w[3], "0000");
    EXPECT_EQ(w[2].toInt(nullptr, 16) * 2, w.size() - 4) << line.toStdString();
    if (w[4] != QLatin1String("0064") && w[4] != QLatin1String("0085"))
        return;
    // Bytes of the device frame; the last is the sum of the others.
    const int bytes = (int(w.size()) - 4 - 2 - 4) / 16;
    QList<int> values;
    for (int b = 0; b < bytes; ++b) {
        int v = 0;
        for (int bit = 0; bit < 8; ++bit)
            if (w[6 + b * 16 + bit * 2 + 1] == QLatin1String("0041"))
                v |= 1 << bit;
        values << v;
    }
    int sum = 0;
    for (int i = 0; i + 1 < values.size(); ++i)
        sum += values[i];
    EXPECT_EQ(values.last(), sum & 255) << line.toStdString();
}

struct Launched {
    QString program;
    QStringList args;
    QString dir;
    int calls = 0;
};
Launched g_launched;
bool fakeLaunch(const QString& program, const QStringList& args, const QString& dir) {
    g_launched = {program, args, dir, g_launched.calls + 1};
    return true;
}

class GenAll : public test::RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        g_launched = {};
        platform::SetLaunchHook(fakeLaunch);
    }
    void TearDown() override {
        platform::SetLaunchHook(nullptr);
        RunFixture::TearDown();
    }
    void load(const QByteArray& ini) {
        writeHomeFile(QStringLiteral("Telvo.ini"), ini);
        initControls();
        ui::ShowIRG();
    }
    ui::IRG& w() { return ui::irg(); }
    // Gen ALL to `name` in the program's folder; the lines written, without CR LF.
    QStringList run(const QString& name) {
        click(name);
        return lines(name);
    }
    // Gen ALL to `name` in the program's folder.
    void click(const QString& name) {
        scripted->paths.push_back(homeFile(name));
        QTest::mouseClick(w().cmdGenAll, Qt::LeftButton);
    }
    QStringList lines(const QString& name) {
        const QByteArray bytes = readHomeFile(name);
        if (bytes.isEmpty())
            return {};
        EXPECT_TRUE(bytes.endsWith("\r\n"));
        QStringList l = QString::fromLatin1(bytes).split(QStringLiteral("\r\n"));
        l.removeLast();
        return l;
    }

    // The expected listing of the sample table, built from its records.
    QStringList expected(int kind) {
        QStringList out;
        const auto& cmds = ui::Config().Commands;
        for (qsizetype i = 1; i < cmds.size(); ++i) {
            const core::CommandRec& r = cmds[i];
            bool ok = false;
            const int d = r.Cmd.toInt(&ok, 16);
            const QString dec = QString::number(d);
            EXPECT_TRUE(ok && r.Cmd.size() == 2) << r.Name.toStdString();
            if (r.IsList || r.IsByte) {
                for (qsizetype v = 1; v < r.Values.size(); ++v) {
                    const QString digits = QString::number(r.Values[v].Value);
                    QString line;
                    if (r.Kind == u"V")
                        line = valueLine(d, digits);
                    else if (r.Kind == u"H")
                        line = numberLine(d, digits.toInt(nullptr, 16));
                    else if (r.Kind == u"A")
                        line = numberLine(d, digits.at(0).unicode());
                    else if (r.Kind == u"D")
                        line = numberLine(d, r.Values[v].Value);
                    else
                        ADD_FAILURE() << "no option for " << r.Name.toStdString();
                    const QString title = r.Name + QStringLiteral(" = ") + r.Values[v].Text;
                    if (kind == 0)
                        out << QStringLiteral("IR Data For Command ") + title +
                                   QStringLiteral("  (0x") + r.Cmd + u'/' + dec +
                                   QStringLiteral("  '") + digits + QStringLiteral("'/") +
                                   codes(digits) + u')';
                    else
                        out << QStringLiteral("IR Data For Command ") + title +
                                   QStringLiteral("  Device Code: ") + dec +
                                   QStringLiteral(" Function: ") + dec + digits;
                    out << line;
                }
            } else if (r.IsRange && kind == 0) {
                const double lo = r.MinText.toDouble(), hi = r.MaxText.toDouble();
                QString mid;
                if (r.MinText.contains(u'.'))
                    mid = QString::number((lo + hi) / 2);
                else
                    mid = QString::number(qRound(std::nearbyint((lo + hi) / 2)));
                const QList<QPair<QString, QString>> points{
                    {r.MinText, QStringLiteral(") Minimum of Range=")},
                    {mid, QStringLiteral(") Middle of Range=")},
                    {r.MaxText, QStringLiteral(") Maximum of Range=")}};
                for (const auto& [value, words] : points) {
                    out << QStringLiteral("IR Data For Command ") + r.Name + QStringLiteral("(0x") +
                               r.Cmd + u'/' + dec + words + value;
                    out << valueLine(d, value);
                }
            } else if (r.IsInteger && kind == 0) {
                const QList<QPair<QString, QString>> points{
                    {QStringLiteral("1"), QStringLiteral("), Integer Value=")},
                    {QStringLiteral("10"), QStringLiteral("), Interger Value =")},
                    {QStringLiteral("100"), QStringLiteral("), Interger Value=")},
                    {QStringLiteral("1000"), QStringLiteral("), Interger Value=")}};
                for (const auto& [value, words] : points) {
                    out << QStringLiteral("IR Data For Command ") + r.Name + QStringLiteral("(0x") +
                               r.Cmd + u'/' + dec + words + value;
                    out << valueLine(d, value);
                }
            }
        }
        return out;
    }
    void compare(const QStringList& got, const QStringList& want) {
        ASSERT_EQ(got.size(), want.size());
        for (qsizetype i = 0; i < got.size(); ++i)
            EXPECT_EQ(got[i], want[i]) << "line " << i + 1;
    }
};

const QByteArray kEdges = "[SYSTEM]\r\nModel = Gorda\r\n[COMMANDS]\r\n"
                          "Wide = [1] 10 ; -20..20 ;\r\n"
                          "Gain = [1] 11 ; 0.00..1.50 ;\r\n"
                          "Two = [1] 12 ; 1..2 ;\r\n"
                          "Pick = [1] 13 ; (1)One,(2)Two ;\r\n"
                          "Count = [1] 14 ; INTEGER ; 0 to 9\r\n"
                          "Bare = [1] 15 ; ;\r\n";

TEST_F(GenAll, SampleTextListing) {
    load(sampleIni());
    const QStringList got = run(QStringLiteral("all.txt"));
    compare(got, expected(0));
    for (qsizetype i = 1; i < got.size(); i += 2)
        checkInvariants(got[i]);
    // A few lines checked by hand.
    EXPECT_EQ(got[0], "IR Data For Command Input = Video-1  (0x4C/76  '1'/49)");
    EXPECT_EQ(got.indexOf(QStringLiteral(
                  "IR Data For Command Brightness(0xB1/177) Minimum of Range=-50")) >= 0,
              true);
    EXPECT_GE(
        got.indexOf(QStringLiteral("IR Data For Command Gamma(0x65/101) Middle of Range=1.9")), 0);
    EXPECT_GE(got.indexOf(QStringLiteral("IR Data For Command Zoom(0xC5/197) Middle of Range=2.5")),
              0);
    EXPECT_GE(got.indexOf(
                  QStringLiteral("IR Data For Command Audio Delay(0x6E/110), Interger Value =10")),
              0);
    EXPECT_GE(
        got.indexOf(QStringLiteral("IR Data For Command Preset = User 10  (0xE1/225  '13'/49,51)")),
        0);
    // Input = Video-1 by hand: D 76 = 0011 0010 (LSB first), "1" = 49 = 1000 1100, E 125 = 1011
    // 1110.
    QStringList words{QStringLiteral("0000 006C 001B 0000 0064 0064")};
    for (const char* bits : {"00110010", "10001100", "10111110"})
        for (const char* p = bits; *p; ++p)
            words << (*p == '1' ? QStringLiteral("0016 0041") : QStringLiteral("0016 0015"));
    words << QStringLiteral("0044 0044 0016 0001");
    EXPECT_EQ(got[1], words.join(u' '));
    // The window is left in Discrete mode with the last record's codes.
    EXPECT_TRUE(w().optDiscrete->isChecked());
    EXPECT_FALSE(w().cmdGen->isEnabled());
    EXPECT_TRUE(w().txtOutput->toPlainText().isEmpty());
    EXPECT_TRUE(w().lblError->isHidden());
    EXPECT_TRUE(w().prgGenAll->isHidden());
    EXPECT_EQ(w().txtFChex->text(), ui::Config().Commands.last().Cmd);
}

TEST_F(GenAll, SampleHexList) {
    load(sampleIni());
    const QStringList got = run(QStringLiteral("all.HEX"));
    compare(got, expected(1));
    for (qsizetype i = 1; i < got.size(); i += 2)
        checkInvariants(got[i]);
    EXPECT_EQ(got[0], "IR Data For Command Input = Video-1  Device Code: 76 Function: 761");
    for (qsizetype i = 0; i < got.size(); i += 2) {
        EXPECT_FALSE(got[i].contains(QStringLiteral("Range="))) << got[i].toStdString();
        EXPECT_FALSE(got[i].contains(QStringLiteral("Value="))) << got[i].toStdString();
    }
}

// "Absolute" cleared: every pattern goes out in the relative form, its leader 0x85. A number
// kind (dec, hex, ascii) carries the same bytes as with "Absolute"; a value kind carries F.
TEST_F(GenAll, AbsoluteClearedGivesTheRelativeForm) {
    load(sampleIni());
    w().chkAbsolute->setChecked(false);
    const QStringList got = run(QStringLiteral("rel.hex"));
    const QStringList want = expected(1);
    ASSERT_EQ(got.size(), want.size());
    QStringList kinds; // of each pattern, in the walk's order
    const auto& cmds = ui::Config().Commands;
    for (qsizetype i = 1; i < cmds.size(); ++i)
        if (cmds[i].IsList || cmds[i].IsByte)
            for (qsizetype v = 1; v < cmds[i].Values.size(); ++v)
                kinds << cmds[i].Kind;
    ASSERT_EQ(kinds.size() * 2, got.size());
    int numbers = 0;
    for (qsizetype i = 0; i < got.size(); i += 2) {
        EXPECT_EQ(got[i], want[i]);
        const QString& line = got[i + 1];
        EXPECT_TRUE(line.startsWith(QStringLiteral("0000 006C 001B 0000 0085 0085 ")))
            << line.toStdString();
        checkInvariants(line);
        if (kinds[i / 2] != u"V") {
            ++numbers;
            EXPECT_EQ(line, QString(want[i + 1])
                                .replace(QStringLiteral("0000 0064 0064 "),
                                         QStringLiteral("0000 0085 0085 ")));
        }
    }
    EXPECT_GT(numbers, 0);
}

TEST_F(GenAll, RangesAndIntegersOnlyInText) {
    load(kEdges);
    const QStringList txt = run(QStringLiteral("e.txt"));
    EXPECT_EQ(txt.size(), 2 * (3 + 3 + 3 + 2 + 4));
    EXPECT_EQ(txt[2], "IR Data For Command Wide(0x10/16) Middle of Range=0");
    EXPECT_EQ(txt[8], "IR Data For Command Gain(0x11/17) Middle of Range=0.75");
    EXPECT_EQ(txt[14], "IR Data For Command Two(0x12/18) Middle of Range=2");
    EXPECT_EQ(txt[22], "IR Data For Command Count(0x14/20), Integer Value=1");
    EXPECT_EQ(txt[24], "IR Data For Command Count(0x14/20), Interger Value =10");
    EXPECT_EQ(txt[28], "IR Data For Command Count(0x14/20), Interger Value=1000");
    EXPECT_EQ(txt[29], valueLine(20, QStringLiteral("1000")));
    const QStringList hex = run(QStringLiteral("e.hex"));
    EXPECT_EQ(hex,
              (QStringList{
                  QStringLiteral("IR Data For Command Pick = One  Device Code: 19 Function: 191"),
                  valueLine(19, QStringLiteral("1")),
                  QStringLiteral("IR Data For Command Pick = Two  Device Code: 19 Function: 192"),
                  valueLine(19, QStringLiteral("2"))}));
    // "Bare" has no kind: nothing of it anywhere.
    EXPECT_FALSE(txt.join(u'\n').contains(QStringLiteral("Bare")));
}

TEST_F(GenAll, ConfigurationFileThroughTheConverter) {
    load(kEdges);
    writeHomeFile(QStringLiteral("hex2ccf"), "#!/bin/sh\n");
    const QString ccf = QStringLiteral("my \"IR\" codes.CCF");
    const QStringList hex = run(ccf);
    EXPECT_TRUE(hex.isEmpty()); // the chosen name is the converter's to write
    EXPECT_EQ(lines(QStringLiteral("Temp$$.hex")).size(), 4);
    EXPECT_EQ(lines(QStringLiteral("my \"IR\" codes.txt")),
              (QStringList{QStringLiteral("Pronto Button # 000 labeled as 191   is IR Data For "
                                          "Command: Pick = One"),
                           QStringLiteral("Pronto Button # 001 labeled as 192   is IR Data For "
                                          "Command: Pick = Two")}));
    EXPECT_EQ(g_launched.calls, 1);
    EXPECT_EQ(g_launched.program, home() + QStringLiteral("/hex2ccf"));
    EXPECT_EQ(g_launched.args, (QStringList{QStringLiteral("Temp$$.hex"), homeFile(ccf)}));
    EXPECT_EQ(g_launched.dir, home());
    EXPECT_TRUE(scripted->messageTexts().isEmpty());
    // Done deletes the temporary file.
    QTest::mouseClick(w().quit, Qt::LeftButton);
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("Temp$$.hex"))));
}

TEST_F(GenAll, MissingConverterIsSaid) {
    load(kEdges);
    run(QStringLiteral("A.CCF"));
    EXPECT_EQ(g_launched.calls, 0);
    EXPECT_EQ(scripted->messageTexts(), QStringList{QStringLiteral("file '") + home() +
                                                    QStringLiteral("/hex2ccf' does not exist")});
    EXPECT_EQ(lines(QStringLiteral("Temp$$.hex")).size(), 4);
    EXPECT_EQ(lines(QStringLiteral("A.txt")).size(), 2);
}

TEST_F(GenAll, ButtonLabelLongerThanFiveCharactersStopsTheWalk) {
    load("[SYSTEM]\r\nModel = Gorda\r\n[COMMANDS]\r\nWide = [1] FF ; (100)a,(101)b ;\r\n");
    run(QStringLiteral("w.ccf"));
    EXPECT_EQ(scripted->messageTexts(),
              QStringList{
                  QStringLiteral("Run-time error '5':\r\n\r\nInvalid procedure call or argument")});
    EXPECT_EQ(g_launched.calls, 0);
}

TEST_F(GenAll, EmptyCodeIsReportedAndTheWalkGoesOn) {
    load("[SYSTEM]\r\nModel = Gorda\r\n[COMMANDS]\r\nNone = [1] ; (1)a ;\r\nPick = [1] 13 ; (1)One "
         ";\r\n");
    const QStringList got = run(QStringLiteral("n.txt"));
    EXPECT_EQ(scripted->messageTexts(),
              QStringList{QStringLiteral("Illegal call to Hex2Int with value ")});
    // "None" has no code: its title is written, and an empty line where the pattern would be,
    // as the boxes stay empty and nothing is generated.
    ASSERT_EQ(got.size(), 4);
    EXPECT_EQ(got[0], "IR Data For Command None = a  (0x/0  '1'/49)");
    EXPECT_EQ(got[1], "");
    EXPECT_EQ(got[2], "IR Data For Command Pick = One  (0x13/19  '1'/49)");
    EXPECT_EQ(got[3], valueLine(19, QStringLiteral("1")));
}

TEST_F(GenAll, CancelInTheDialogTouchesNothing) {
    load(kEdges);
    QTest::mouseClick(w().cmdGenAll, Qt::LeftButton); // no path queued: cancelled
    ASSERT_EQ(scripted->shown.size(), 1u);
    EXPECT_EQ(scripted->shown[0].kind, "Save");
    EXPECT_EQ(scripted->shown[0].text, "Select File name to save IR Data");
    EXPECT_TRUE(w().lblError->isHidden());
    EXPECT_TRUE(
        QDir(home()).entryList({QStringLiteral("*.txt"), QStringLiteral("*.hex")}).isEmpty());
}

TEST_F(GenAll, CancelDuringTheWalk) {
    load(sampleIni());
    // The first yield of the walk sees the click.
    QTimer::singleShot(0, w().cmdCancelAll, [this] {
        EXPECT_TRUE(w().prgGenAll->isVisible());
        EXPECT_TRUE(w().cmdCancelAll->isVisible());
        QTest::mouseClick(w().cmdCancelAll, Qt::LeftButton);
    });
    const QStringList got = run(QStringLiteral("c.txt"));
    EXPECT_TRUE(got.isEmpty());
    EXPECT_TRUE(w().prgGenAll->isHidden());
    EXPECT_TRUE(w().cmdGenAll->isEnabled());
    // The unfinished file goes, and the user is told.
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("c.txt"))));
    EXPECT_EQ(scripted->messageTexts(),
              QStringList{QStringLiteral("Gen ALL was cancelled; no file was written.")});
}

TEST_F(GenAll, CancelDuringAConfigurationFileRemovesItsTemporaryAndListFiles) {
    load(sampleIni());
    QTimer::singleShot(0, w().cmdCancelAll, [this] {
        // A few patterns are out before the click.
        EXPECT_TRUE(QFile::exists(homeFile(QStringLiteral("Temp$$.hex"))));
        QTest::mouseClick(w().cmdCancelAll, Qt::LeftButton);
    });
    run(QStringLiteral("r.ccf"));
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("Temp$$.hex"))));
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("r.txt"))));
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("r.ccf"))));
    EXPECT_EQ(g_launched.calls, 0);
    EXPECT_EQ(scripted->messageTexts(),
              QStringList{QStringLiteral("Gen ALL was cancelled; no file was written.")});
}

// The three kinds of the design are written byte for byte as before the LIRC remote came:
// files made then are kept under tests/ir/data.
QByteArray golden(const char* name) {
    QFile f(qEnvironmentVariable("TELVO_SOURCE_DIR") + QStringLiteral("/tests/ir/data/") +
            QLatin1String(name));
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

TEST_F(GenAll, SampleFilesByteForByteAsBefore) {
    load(sampleIni());
    writeHomeFile(QStringLiteral("hex2ccf"), "#!/bin/sh\n");
    const QByteArray text = golden("genall-sample.txt"), hex = golden("genall-sample.hex"),
                     buttons = golden("genall-sample-buttons.txt");
    ASSERT_GT(text.size(), 60000);
    ASSERT_GT(hex.size(), 30000);
    ASSERT_GT(buttons.size(), 8000);
    run(QStringLiteral("sample.txt"));
    EXPECT_EQ(readHomeFile(QStringLiteral("sample.txt")), text);
    run(QStringLiteral("sample.hex"));
    EXPECT_EQ(readHomeFile(QStringLiteral("sample.hex")), hex);
    run(QStringLiteral("listed.ccf"));
    EXPECT_EQ(readHomeFile(QStringLiteral("Temp$$.hex")), hex);
    EXPECT_EQ(readHomeFile(QStringLiteral("listed.txt")), buttons);
    EXPECT_EQ(g_launched.calls, 1);
}

// The durations of a Pronto line without its lead-out, as a raw code of the remote holds them.
QList<qint32> rawOf(const QString& pronto) {
    const auto code = core::ir::ProntoDurations(pronto);
    if (!code)
        return {};
    QList<qint32> d = code->durations;
    if (d.size() % 2 == 0)
        d.removeLast();
    return d;
}

TEST_F(GenAll, SampleLircRemote) {
    load(sampleIni());
    const QStringList all = run(QStringLiteral("pronto.hex"));
    click(QStringLiteral("vorix.CONF"));
    const QByteArray bytes = readHomeFile(QStringLiteral("vorix.CONF"));
    EXPECT_FALSE(bytes.contains('\r'));
    const Conf c = parseConf(bytes);
    ASSERT_EQ(c.comments.size(), 3);
    EXPECT_EQ(c.comments[0],
              "IR codes of the Vorix Gorda, firmware 1.24, made by the Telvo Utility");
    EXPECT_EQ(c.comments[1],
              "from " + QDir::toNativeSeparators(homeFile(QStringLiteral("Telvo.ini"))));
    EXPECT_EQ(c.comments[2], "Send a button with: irsend SEND_ONCE vorix BUTTON");
    EXPECT_EQ(c.settings.value(QStringLiteral("name")), "vorix");
    EXPECT_EQ(c.settings.value(QStringLiteral("flags")), "RAW_CODES");
    EXPECT_EQ(c.settings.value(QStringLiteral("frequency")), "38381");
    // The longest lead-out: a remote key's 170 words.
    EXPECT_EQ(c.settings.value(QStringLiteral("gap")), "4429");
    // The remote keys first, by their names; then every list value, as the .hex list has them,
    // but for the commands kept out of IR.
    QStringList hex;
    for (qsizetype i = 0; i + 1 < all.size(); i += 2)
        if (!all[i].startsWith(QStringLiteral("IR Data For Command Enter Loader = ")))
            hex << all[i] << all[i + 1];
    ASSERT_EQ(hex.size(), all.size() - 2);
    const auto& keys = ui::Config().RemoteCodes;
    const int nKeys = int(keys.size()) - 1;
    ASSERT_EQ(nKeys, 33);
    ASSERT_EQ(c.names.size(), nKeys + hex.size() / 2);
    EXPECT_EQ(ui::Ir().ButtonCount, c.names.size());
    EXPECT_EQ(c.names.mid(0, 4), (QStringList{"POWER", "POWER_ON", "POWER_OFF", "MENU"}));
    EXPECT_EQ(c.names[nKeys - 1], "PROFILE_NEXT");
    EXPECT_EQ(c.names.indexOf(QStringLiteral("INPUT_S_VIDEO")), 23);
    // "Input = Video-1" folds to the key "Input Video 1": the value is numbered.
    EXPECT_EQ(c.names[nKeys], "INPUT_VIDEO_1_2");
    EXPECT_EQ(c.names[nKeys + 1], "INPUT_VIDEO_2_2");
    EXPECT_EQ(c.names[nKeys + 2], "INPUT_S_VID_1");
    EXPECT_TRUE(c.names.contains(QStringLiteral("ASPECT_RATIO_4_3")));
    EXPECT_TRUE(c.names.contains(QStringLiteral("OUTPUT_COLORSPACE_YCBCR_4_4_4")));
    EXPECT_TRUE(c.names.contains(QStringLiteral("IR_CODE_SET_ALTERNATE")));
    // A departure (docs/ARCHITECTURE.md): a command not for IR gets no LIRC button.
    EXPECT_FALSE(c.names.contains(QStringLiteral("ENTER_LOADER_YES")));
    EXPECT_EQ(QSet<QString>(c.names.begin(), c.names.end()).size(), c.names.size());
    for (const QString& n : c.names)
        EXPECT_TRUE(QRegularExpression(QStringLiteral("^[A-Z0-9_]+$")).match(n).hasMatch())
            << n.toStdString();
    // Each value's raw code is its Pronto line of the .hex list in microseconds.
    for (qsizetype i = 0; i < hex.size() / 2; ++i)
        EXPECT_EQ(c.codes[nKeys + i], rawOf(hex[2 * i + 1])) << c.names[nKeys + i].toStdString();
    // The walk leaves the window as the other kinds do.
    EXPECT_TRUE(w().optDiscrete->isChecked());
    EXPECT_FALSE(w().lstRemote->isEnabled());
    EXPECT_TRUE(w().lblError->isHidden());
    EXPECT_TRUE(scripted->messageTexts().isEmpty());
    // Each key's raw code is what a click on its row shows.
    w().optRemote->setChecked(true);
    for (int k = 0; k < nKeys; ++k) {
        w().lstRemote->setCurrentRow(k);
        const QString shown = w().txtOutput->toPlainText();
        ASSERT_TRUE(shown.startsWith(QStringLiteral("0000 006C 0024 0000 0156 00AA "))) << k;
        EXPECT_EQ(c.codes[k], rawOf(shown)) << c.names[k].toStdString();
        EXPECT_EQ(c.codes[k].size(), 71);
    }
}

TEST_F(GenAll, LircRemoteWithoutListCommandsHoldsTheKeys) {
    load("[SYSTEM]\r\nModel = Gorda\r\n[COMMANDS]\r\nWide = [1] 10 ; -20..20 ;\r\n"
         "Count = [1] 14 ; INTEGER ; 0 to 9\r\n[REMOTECODES]\r\nZoom In = 65\r\n"
         "Zoom-In = 66\r\nZoom_In = 67\r\n");
    click(QStringLiteral("keys.conf"));
    const Conf c = parseConf(readHomeFile(QStringLiteral("keys.conf")));
    EXPECT_EQ(c.comments.value(0), "IR codes of the Vorix Gorda, made by the Telvo Utility");
    EXPECT_EQ(c.names, (QStringList{"ZOOM_IN", "ZOOM_IN_2", "ZOOM_IN_3"}));
    ASSERT_EQ(c.codes.size(), 3);
    // Device code 8324 as 16 bits, then 65 as 8 bits and its complement, then the tail.
    QList<qint32> want{8911, 4429};
    auto bits = [&want](int v, int n, bool invert) {
        for (int b = 0; b < n; ++b)
            want << 573 << (bool((v >> b) & 1) != invert ? 1694 : 547);
    };
    bits(8324, 16, false);
    bits(65, 8, false);
    bits(65, 8, true);
    want << 573 << 45022 << 8911 << 2215 << 573;
    EXPECT_EQ(c.codes[0], want);
    EXPECT_EQ(c.settings.value(QStringLiteral("gap")), "4429");
    EXPECT_EQ(ui::Ir().ButtonCount, 3);
}

TEST_F(GenAll, CancelDuringALircRemoteLeavesNoFile) {
    load(sampleIni());
    writeHomeFile(QStringLiteral("old.conf"), "an older remote\n");
    QTimer::singleShot(0, w().cmdCancelAll,
                       [this] { QTest::mouseClick(w().cmdCancelAll, Qt::LeftButton); });
    click(QStringLiteral("old.conf"));
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("old.conf"))));
    EXPECT_EQ(scripted->messageTexts(),
              QStringList{QStringLiteral("Gen ALL was cancelled; no file was written.")});
    EXPECT_TRUE(w().cmdGenAll->isEnabled());
    // A later walk starts from an empty remote.
    click(QStringLiteral("new.conf"));
    EXPECT_EQ(parseConf(readHomeFile(QStringLiteral("new.conf"))).names.value(0), "POWER");
}

// The progress line spans the row it stands in, as txtOutput above it: titles are not cut.
TEST_F(GenAll, ProgressLineSpansItsRow) {
    load(sampleIni());
    w().resize(700, w().height());
    QApplication::processEvents();
    int labelWidth = 0, rowWidth = 0, textWidth = 0;
    QString title;
    // Looks at each yield until the first title stands in the line.
    std::function<void()> look = [&] {
        if (w().lblError->text().isEmpty()) {
            QTimer::singleShot(0, w().cmdCancelAll, look);
            return;
        }
        labelWidth = w().lblError->width();
        rowWidth = w().txtOutput->width();
        title = w().lblError->text();
        textWidth = w().lblError->fontMetrics().horizontalAdvance(title);
        QTest::mouseClick(w().cmdCancelAll, Qt::LeftButton);
    };
    QTimer::singleShot(0, w().cmdCancelAll, look);
    run(QStringLiteral("p.txt"));
    EXPECT_EQ(labelWidth, rowWidth);
    EXPECT_GT(rowWidth, 400);
    EXPECT_EQ(title, "Input = Video-1  (0x4C/76  '1'/49)");
    EXPECT_LE(textWidth, labelWidth);
}

} // namespace
