// LIRC's own tools (Debian's lirc package) on what the program writes for the sample Telvo.ini:
// irsimreceive decodes every button's pulse/space text against the Gen ALL remote and gives
// back exactly that button; irsimsend sends every button of that remote within LIRC's tolerance
// of the program's durations. LIRC's daemon plays no part.

#include "LircConf.h"
#include "common/Fixture.h"

#include "app/Tools.h"
#include "common/CliRun.h"
#include "ir/IRG.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

using namespace telvo;

namespace {

struct Press {
    QString what;  // how the user picks it
    QString mode2; // the window's pulse/space text of it
};

class LircTools : public test::RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        m_receive = QStandardPaths::findExecutable(QStringLiteral("irsimreceive"));
        m_send = QStandardPaths::findExecutable(QStringLiteral("irsimsend"));
        if (m_receive.isEmpty() || m_send.isEmpty())
            GTEST_SKIP() << "irsimreceive/irsimsend are not installed (Debian package lirc)";
        writeHomeFile(QStringLiteral("Telvo.ini"), sampleIni());
        initControls();
        ui::ShowIRG();
    }
    ui::IRG& w() { return ui::irg(); }

    // A LIRC tool run in `dir`, its log kept in the test's folder; its standard output.
    QByteArray lirc(const QString& program, const QStringList& args, const QString& dir) {
        QProcess p;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("XDG_CACHE_HOME"), home() + QStringLiteral("/cache"));
        p.setProcessEnvironment(env);
        p.setWorkingDirectory(dir);
        p.start(program, args);
        EXPECT_TRUE(p.waitForFinished(240000)) << program.toStdString();
        EXPECT_EQ(p.exitCode(), 0) << p.readAllStandardError().toStdString();
        return p.readAllStandardOutput();
    }

    // Gen ALL to a LIRC remote in the program's folder; its text.
    QByteArray genAll(const QString& name) {
        scripted->paths.push_back(homeFile(name));
        QTest::mouseClick(w().cmdGenAll, Qt::LeftButton);
        return readHomeFile(name);
    }

    // Every button as a user picks it in the window, in the order of the remote: the remote
    // keys, then each value of each listed command.
    QList<Press> presses() {
        QList<Press> out;
        w().optRemote->setChecked(true);
        w().optRemote_Click();
        for (int k = 0; k < w().lstRemote->count(); ++k) {
            w().lstRemote->setCurrentRow(k);
            out << Press{w().lstRemote->item(k)->text(), w().ShownMode2()};
        }
        w().optDiscrete->setChecked(true);
        w().optDiscrete_Click();
        for (int c = 0; c < w().lstCmnds->count(); ++c) {
            w().lstCmnds->setCurrentRow(c);
            if (!w().lstValues->isEnabled())
                continue;
            for (int v = 0; v < w().lstValues->count(); ++v) {
                w().lstValues->setCurrentRow(v);
                out << Press{w().lstCmnds->item(c)->text() + QStringLiteral(" = ") +
                                 w().lstValues->item(v)->text(),
                             w().ShownMode2()};
            }
        }
        return out;
    }

    // The names irsimreceive decodes, in order ("0000000000000001 00 POWER vorix" lines).
    static QStringList decoded(const QByteArray& out) {
        QStringList names;
        for (const QString& line : QString::fromLatin1(out).split(u'\n', Qt::SkipEmptyParts)) {
            const QStringList w = line.split(u' ', Qt::SkipEmptyParts);
            EXPECT_EQ(w.size(), 4) << line.toStdString();
            EXPECT_EQ(w.value(3), "vorix");
            names << w.value(2);
        }
        return names;
    }

    QString m_receive, m_send;
};

// "pulse N" / "space N" lines as signed numbers, spaces negative.
QList<qint32> durations(const QByteArray& text) {
    QList<qint32> out;
    for (const QString& line : QString::fromLatin1(text).split(u'\n', Qt::SkipEmptyParts)) {
        const QStringList w = line.split(u' ');
        EXPECT_EQ(w.size(), 2) << line.toStdString();
        const qint32 n = w.value(1).toInt();
        if (w[0] == u"pulse")
            out << n;
        else if (w[0] == u"space")
            out << -n;
        else
            ADD_FAILURE() << line.toStdString();
    }
    return out;
}

TEST_F(LircTools, EveryButtonsPulseSpaceTextDecodesToThatButton) {
    const test::Conf conf = test::parseConf(genAll(QStringLiteral("vorix.conf")));
    const QList<Press> all = presses();
    ASSERT_EQ(conf.names.size(), all.size());
    ASSERT_EQ(all.size(), 33 + 104); // the sample's remote keys and list values
    // One press after the other in one file, as a receiver would record them.
    QByteArray stream;
    for (const Press& p : all) {
        ASSERT_FALSE(p.mode2.isEmpty()) << p.what.toStdString();
        stream += p.mode2.toLatin1();
    }
    writeHomeFile(QStringLiteral("presses.ir"), stream);
    const QStringList got = decoded(lirc(
        m_receive, {homeFile(QStringLiteral("vorix.conf")), homeFile(QStringLiteral("presses.ir"))},
        home()));
    ASSERT_EQ(got.size(), conf.names.size());
    for (qsizetype i = 0; i < got.size(); ++i)
        EXPECT_EQ(got[i], conf.names[i]) << all[i].what.toStdString();
    // The names a user types: a key's, a value's, and the value that met a key's name.
    EXPECT_EQ(got.first(), "POWER");
    EXPECT_EQ(all[got.indexOf(QStringLiteral("INPUT_VIDEO_1"))].what, "Input Video 1");
    EXPECT_EQ(all[got.indexOf(QStringLiteral("INPUT_VIDEO_1_2"))].what, "Input = Video-1");
    EXPECT_EQ(all[got.indexOf(QStringLiteral("ASPECT_RATIO_16_9"))].what, "Aspect Ratio = 16:9");
}

TEST_F(LircTools, IrsimsendSendsEachButtonWithinLircsToleranceOfTheProgram) {
    const test::Conf conf = test::parseConf(genAll(QStringLiteral("vorix.conf")));
    const QList<Press> all = presses();
    ASSERT_EQ(conf.names.size(), all.size());
    const int eps = conf.settings.value(QStringLiteral("eps")).toInt();
    const int aeps = conf.settings.value(QStringLiteral("aeps")).toInt();
    const int gap = conf.settings.value(QStringLiteral("gap")).toInt();
    ASSERT_EQ(eps, 30);
    ASSERT_EQ(aeps, 100);
    ASSERT_EQ(gap, 4429);
    const QString dir = home() + QStringLiteral("/send");
    ASSERT_TRUE(QDir().mkpath(dir));
    lirc(m_send, {homeFile(QStringLiteral("vorix.conf"))}, dir);
    QFile out(dir + QStringLiteral("/simsend.out"));
    ASSERT_TRUE(out.open(QIODevice::ReadOnly));
    const QList<qint32> sent = durations(out.readAll());
    // Each button: its code, ending with a pulse, then the remote's gap.
    qsizetype at = 0;
    for (qsizetype b = 0; b < all.size(); ++b) {
        SCOPED_TRACE(conf.names[b].toStdString());
        QList<qint32> mine = durations(all[b].mode2.toLatin1());
        ASSERT_GE(mine.size(), 3);
        ASSERT_LT(mine.first(), 0); // the silence before the press
        mine.removeFirst();
        mine.removeLast(); // the lead-out, run into the silence after
        ASSERT_EQ(mine.size(), conf.codes[b].size());
        ASSERT_LE(at + mine.size() + 1, sent.size());
        for (qsizetype i = 0; i < mine.size(); ++i) {
            const qint32 s = sent[at + i], m = mine[i];
            ASSERT_EQ(s > 0, m > 0) << "entry " << i;
            EXPECT_LE(std::abs(std::abs(s) - std::abs(m)), std::max(aeps, std::abs(m) * eps / 100))
                << "entry " << i << ": sent " << s << ", the program's " << m;
        }
        at += mine.size();
        EXPECT_EQ(sent[at], -gap);
        ++at;
    }
    EXPECT_EQ(at, sent.size());
}

// The command-line tool gives each button the same text as the window, and its Gen ALL the
// same remote; its one-button remote decodes the button's own press.
TEST_F(LircTools, CommandLineTextsAreTheWindows) {
    const QByteArray windowConf = genAll(QStringLiteral("vorix.conf"));
    const QList<Press> all = presses();
    const QString cli = home() + QStringLiteral("/cli");
    ASSERT_TRUE(QDir().mkpath(cli));
    {
        QFile ini(cli + QStringLiteral("/Telvo.ini"));
        ASSERT_TRUE(ini.open(QIODevice::WriteOnly));
        ini.write(sampleIni().replace("Vorix Connected = True", "Vorix Connected = False"));
    }
    const test::CliResult power = test::RunCli(
        cli, {QStringLiteral("ir"), QStringLiteral("code"), QStringLiteral("--key"),
              QStringLiteral("Power"), QStringLiteral("--format"), QStringLiteral("mode2")});
    ASSERT_EQ(power.exit, 0) << power.err.toStdString();
    EXPECT_EQ(QString::fromLatin1(power.out), all[0].mode2);
    qsizetype input = -1;
    for (qsizetype i = 0; i < all.size(); ++i)
        if (all[i].what == u"Input = Video-1")
            input = i;
    ASSERT_GE(input, 0);
    const test::CliResult value =
        test::RunCli(cli, {QStringLiteral("ir"), QStringLiteral("code"), QStringLiteral("Input"),
                           QStringLiteral("--value"), QStringLiteral("Video-1"),
                           QStringLiteral("--format"), QStringLiteral("mode2")});
    ASSERT_EQ(value.exit, 0) << value.err.toStdString();
    EXPECT_EQ(QString::fromLatin1(value.out), all[input].mode2);

    const test::CliResult wrong = test::RunCli(
        cli, {QStringLiteral("ir"), QStringLiteral("code"), QStringLiteral("--key"),
              QStringLiteral("Power"), QStringLiteral("--format"), QStringLiteral("raw")});
    EXPECT_EQ(wrong.exit, 2);
    EXPECT_EQ(wrong.err, "telvo-cli: --format takes pronto, mode2 or lirc\n");
    EXPECT_TRUE(wrong.out.isEmpty());

    // The one-button remote of "Input = Video-1" names it by command and value.
    const test::CliResult one =
        test::RunCli(cli, {QStringLiteral("ir"), QStringLiteral("code"), QStringLiteral("Input"),
                           QStringLiteral("--value"), QStringLiteral("1"),
                           QStringLiteral("--format"), QStringLiteral("lirc")});
    ASSERT_EQ(one.exit, 0) << one.err.toStdString();
    const test::Conf oneConf = test::parseConf(one.out);
    EXPECT_EQ(oneConf.names, QStringList{QStringLiteral("INPUT_VIDEO_1")});
    EXPECT_EQ(oneConf.comments.value(1),
              "from " + QDir::toNativeSeparators(cli + QStringLiteral("/Telvo.ini")));
    // Its gap is the code's own lead-out, one carrier period.
    EXPECT_EQ(oneConf.settings.value(QStringLiteral("gap")), "26");
    QFile f(cli + QStringLiteral("/one.conf"));
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(one.out);
    f.close();
    writeHomeFile(QStringLiteral("one.ir"), all[input].mode2.toLatin1());
    EXPECT_EQ(decoded(lirc(m_receive, {f.fileName(), homeFile(QStringLiteral("one.ir"))}, home())),
              QStringList{QStringLiteral("INPUT_VIDEO_1")});

    // Gen ALL from the command line: the same remote but for where Telvo.ini lies.
    const test::CliResult gen = test::RunCli(cli, {QStringLiteral("ir"), QStringLiteral("gen-all"),
                                                   cli + QStringLiteral("/vorix.conf")});
    ASSERT_EQ(gen.exit, 0) << gen.err.toStdString();
    QFile cliConf(cli + QStringLiteral("/vorix.conf"));
    ASSERT_TRUE(cliConf.open(QIODevice::ReadOnly));
    const QByteArray cliBytes = cliConf.readAll();
    const QByteArray windowIni =
        QDir::toNativeSeparators(homeFile(QStringLiteral("Telvo.ini"))).toUtf8();
    const QByteArray cliIni = QDir::toNativeSeparators(cli + QStringLiteral("/Telvo.ini")).toUtf8();
    EXPECT_EQ(cliBytes, QByteArray(windowConf).replace(windowIni, cliIni));
}

} // namespace
