// Save and restore of all settings of all states through Settings.txt, against the emulated
// device: the file's lines, the restore's walk through the states with its kept quirks, the
// prompts, and a save that never leaves a half-written file.

#include "common/Accessible.h"
#include "common/SettingsFixture.h"

#include "link/zSCL.h"
#include "settings/Panels.h"
#include "settings/SaveRestore.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <cstdio>

using namespace telvo;
using namespace telvo::test;

namespace {

class SaveRestore : public DeviceRun {
protected:
    void SetUp() override {
        DeviceRun::SetUp();
        ui::BuildPanels();
        s().show();
        poll();
    }
    QStringList settingsLines() const {
        const QByteArray bytes = readHomeFile(QStringLiteral("Settings.txt"));
        QStringList out = QString::fromLatin1(bytes).split(QStringLiteral("\r\n"));
        if (!out.isEmpty() && out.last().isEmpty())
            out.removeLast();
        return out;
    }
    // Answers the questions in turn (true: Continue) as they come up, recording their texts,
    // and goes on at every breakpoint (Continue alone on show).
    void answerPrompts(QList<bool> answers) {
        s().chkConfirm->setChecked(true); // questions stop only when confirmation is asked for
        m_answers = answers;
    }
    void poll() {
        at(5, [this] {
            if (!s().cmdContinue->isHidden()) {
                if (s().cmdCancel->isHidden()) {
                    m_breaks << s().lblMessage->text();
                    QTest::mouseClick(s().cmdContinue, Qt::LeftButton);
                } else if (!m_answers.isEmpty()) {
                    if (m_fileAtPrompt && m_prompts.isEmpty())
                        m_seen = readHomeFile(QStringLiteral("Settings.txt"));
                    m_prompts << s().lblMessage->text();
                    QTest::mouseClick(m_answers.takeFirst() ? s().cmdContinue : s().cmdCancel,
                                      Qt::LeftButton);
                }
            }
            poll();
        });
    }
    QStringList m_breaks;
    QList<bool> m_answers;
    QStringList m_prompts;
    bool m_fileAtPrompt = false;
    QByteArray m_seen;
};

TEST_F(SaveRestore, SaveWritesEveryStateAndPlainRowInFileOrder) {
    vorix::sim::Device& dev = attachDevice();
    dev.settings().set("4C", "1");
    dev.settings().set("B1", "-12");
    dev.settings().set("D1", "60");
    QTest::mouseClick(s().cmdSave, Qt::LeftButton);
    const QByteArray bytes = readHomeFile(QStringLiteral("Settings.txt"));
    ASSERT_FALSE(bytes.isEmpty());
    EXPECT_TRUE(bytes.endsWith("\r\n"));
    const QStringList lines = settingsLines();
    EXPECT_EQ(lines.first(),
              QStringLiteral("SetState=Input Video 1,4C1; SetParameter=Brightness, B1-12"));
    EXPECT_EQ(lines.at(1),
              QStringLiteral("SetState=Input Video 1,4C1; SetParameter=Contrast, B20"));
    EXPECT_TRUE(lines.contains(QStringLiteral("SetParameter=OSD Timeout, D160")));
    EXPECT_TRUE(lines.contains(
        QStringLiteral("SetState=Preset User 1,530; SetParameter=Aspect Ratio, C11")));
    // Plain rows come after the state rows, in the file's order.
    EXPECT_EQ(lines.last(), QStringLiteral("SetParameter=Auto Power, DB0"));
    ASSERT_EQ(m_breaks.size(), 1);
    EXPECT_TRUE(m_breaks.at(0).startsWith(
        QStringLiteral("Breakpoint: All settings have been saved from the Gorda")));
    EXPECT_TRUE(logLines().contains(
        QStringLiteral("Breakpoint: All settings have been saved from the Gorda")));
}

// A Settings.txt that cannot be written: the alert, and no word that the settings were saved.
TEST_F(SaveRestore, FailedWriteSaysItFailedAndNothingElse) {
    attachDevice();
    ASSERT_TRUE(QDir(home()).mkdir(QStringLiteral("Settings.txt")));
    QTest::mouseClick(s().cmdSave, Qt::LeftButton);
    EXPECT_TRUE(m_breaks.isEmpty());
    for (const QString& line : logLines())
        EXPECT_FALSE(line.contains(QStringLiteral("All settings have been saved")))
            << line.toStdString();
    EXPECT_TRUE(s().lblMessage->text().startsWith(QStringLiteral("Could not write ") +
                                                  homeFile(QStringLiteral("Settings.txt")) + u':'))
        << s().lblMessage->text().toStdString();
}

TEST_F(SaveRestore, SaveThenRestoreBringsTheSettingsBack) {
    vorix::sim::Device& dev = attachDevice();
    dev.settings().set("4C", "2");
    dev.settings().set("B1", "17");
    dev.settings().set("4C", "1");
    dev.settings().set("D3", "3");
    ui::SaveSettings();
    dev.settings().restoreDefaults();
    dev.settings().set("4C", "1");
    ui::RestoreSettings();
    dev.settings().set("4C", "2");
    EXPECT_EQ(dev.settings().query("B1").value, QByteArray("17"));
    EXPECT_EQ(dev.settings().query("D3").value, QByteArray("3"));
}

TEST_F(SaveRestore, RestoreOfPlainLinesNeverChangesTheState) {
    attachDevice();
    writeHomeFile(QStringLiteral("Settings.txt"),
                  "SetParameter=OSD Timeout, D160\r\nSetParameter=Menu Language, D32\r\n");
    const int from = logSize();
    ui::RestoreSettings();
    const QStringList frames = sent(from);
    ASSERT_GE(frames.size(), 2);
    EXPECT_EQ(frames.at(0), set("D1", QStringLiteral("60")));
    EXPECT_EQ(frames.at(1), set("D3", QStringLiteral("2")));
    // What follows is the view put back, nothing between.
    EXPECT_EQ(frames.value(2), set("4C", QStringLiteral("1")));
}

TEST_F(SaveRestore, PresetMemoryIsStoredWithTheSetTextOfTheLineThatFollowsIt) {
    attachDevice();
    writeHomeFile(QStringLiteral("Settings.txt"),
                  "SetState=Input Video 1,4C1; SetParameter=Brightness, B15\r\n"
                  "SetState=Preset User 1,530; SetParameter=Overscan, C23\r\n"
                  "SetState=Preset User 2,531; SetParameter=Overscan, C24\r\n"
                  "SetState=Output Analog,601; SetParameter=Frame Lock, 641\r\n");
    const int from = logSize();
    ui::RestoreSettings();
    const QStringList frames = sent(from);
    ASSERT_GE(frames.size(), 8);
    EXPECT_EQ(frames.mid(0, 8),
              (QStringList{set("4C", QStringLiteral("1")), set("B1", QStringLiteral("5")),
                           set("C2", QStringLiteral("3")),
                           // the first preset's store is the second preset's set text
                           set("53", QStringLiteral("1")), set("C2", QStringLiteral("4")),
                           // the second's is the output line's set text, sent twice
                           set("60", QStringLiteral("1")), set("60", QStringLiteral("1")),
                           set("64", QStringLiteral("1"))}));
    EXPECT_TRUE(logLines().contains(
        QStringLiteral("Setting state(1) 'Input Video 1' for new set of parameters")));
    EXPECT_TRUE(logLines().contains(
        QStringLiteral("Setting state(2) 'Output Analog' for new set of parameters")));
}

TEST_F(SaveRestore, PresetLinesBeforeAnyInputAreDropped) {
    attachDevice();
    writeHomeFile(QStringLiteral("Settings.txt"),
                  "SetState=Preset User 1,530; SetParameter=Overscan, C23\r\n");
    const int from = logSize();
    ui::RestoreSettings();
    EXPECT_EQ(sent(from).value(0), set("4C", QStringLiteral("1"))); // the view, no preset
}

TEST_F(SaveRestore, MissingFileIsReported) {
    attachDevice();
    ui::RestoreSettings();
    EXPECT_TRUE(s().lblMessage->text().startsWith(
        QStringLiteral("There is no 'Settings' file (settings.txt) to restore from")));
}

TEST_F(SaveRestore, SdiInputOnADeviceWithoutTheModuleIsSkippedForTheRun) {
    vorix::sim::DeviceOptions o;
    o.sdiModule = false;
    attachDevice(o);
    ui::SaveSettings();
    EXPECT_TRUE(ui::G().settings.SDIFailed);
    // Its parameters are still read (in the state the device stayed in).
    EXPECT_FALSE(settingsLines()
                     .filter(QStringLiteral("SetState=Input SDI,4C12; SetParameter=Brightness, B1"))
                     .isEmpty());
    const int from = logSize();
    ui::SaveSettings();
    EXPECT_FALSE(sent(from).contains(set("4C", QStringLiteral("12"))));
    EXPECT_FALSE(settingsLines().join(u'\n').contains(QStringLiteral("Input SDI")));
}

TEST_F(SaveRestore, InSimulationStateRowsWriteNothingAndPlainRowsALine) {
    attachDevice();
    s().chkSim->setChecked(true);
    ui::chkSim_Click();
    ui::SaveSettings();
    const QStringList lines = settingsLines();
    ASSERT_FALSE(lines.isEmpty());
    for (const QString& l : lines)
        EXPECT_TRUE(l.startsWith(QLatin1String("SetParameter="))) << l.toStdString();
    EXPECT_EQ(lines.size(), 9); // the nine general settings
}

TEST_F(SaveRestore, RefusedStateAsksAndCancelLeavesTheEarlierFileWhole) {
    vorix::sim::Device& dev = attachDevice();
    writeHomeFile(QStringLiteral("Settings.txt"), "SetParameter=Earlier, D11\r\n");
    dev.options().faults.errorFor.insert("4C", 4);
    answerPrompts({false});
    ui::SaveSettings();
    ASSERT_EQ(m_prompts.size(), 1);
    EXPECT_TRUE(m_prompts.at(0).startsWith(
        QStringLiteral("Confirm Operation: Unable to set Gorda state to Input Video 1")));
    EXPECT_EQ(readHomeFile(QStringLiteral("Settings.txt")),
              QByteArray("SetParameter=Earlier, D11\r\n"));
}

TEST_F(SaveRestore, FileStaysWholeWhileTheSaveRuns) {
    vorix::sim::Device& dev = attachDevice();
    writeHomeFile(QStringLiteral("Settings.txt"), "SetParameter=Earlier, D11\r\n");
    dev.options().faults.errorFor.insert("B2", 4);
    // At the first question the save is half done: the file on disk is still the old one.
    m_fileAtPrompt = true;
    answerPrompts(QList<bool>(20, true));
    ui::SaveSettings();
    EXPECT_EQ(m_seen, QByteArray("SetParameter=Earlier, D11\r\n"));
    EXPECT_GE(m_prompts.size(), 10);
    EXPECT_FALSE(settingsLines().filter(QStringLiteral("SetParameter=OSD Timeout, D1")).isEmpty());
}

// The half of the next test that runs in a child process: a save that stops at a question
// half-way through, with lines already written, and waits there until it is killed.
TEST_F(SaveRestore, ChildSavesUntilKilled) {
    if (qEnvironmentVariableIsEmpty("TELVO_SAVE_CHILD"))
        GTEST_SKIP() << "the child of KilledSave";
    vorix::sim::Device& dev = attachDevice();
    writeHomeFile(QStringLiteral("Settings.txt"), "SetParameter=Earlier, D11\r\n");
    dev.options().faults.errorFor.insert("B2", 4);
    s().chkConfirm->setChecked(true); // the question then waits for an answer that never comes
    std::function<void()> tell = [&] {
        if (!s().cmdCancel->isHidden()) {
            std::printf("waiting %s\n", qPrintable(home()));
            std::fflush(stdout);
            return;
        }
        at(5, tell);
    };
    at(5, tell);
    ui::SaveSettings();
}

TEST(KilledSave, LeavesThePreviousFileWhole) {
    QProcess child;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("TELVO_SAVE_CHILD"), QStringLiteral("1"));
    child.setProcessEnvironment(env);
    child.start(QCoreApplication::applicationFilePath(),
                {QStringLiteral("--gtest_filter=SaveRestore.ChildSavesUntilKilled")});
    ASSERT_TRUE(child.waitForStarted(10000));
    QString homeDir;
    while (homeDir.isEmpty() && child.waitForReadyRead(60000)) {
        while (child.canReadLine()) {
            const QString line = QString::fromLocal8Bit(child.readLine()).trimmed();
            if (line.startsWith(QLatin1String("waiting ")))
                homeDir = line.mid(8);
        }
    }
    ASSERT_FALSE(homeDir.isEmpty()) << "the child never reached its question";
    child.kill(); // SIGKILL: no handler, no clean-up
    child.waitForFinished(10000);
    QFile f(QDir(homeDir).filePath(QStringLiteral("Settings.txt")));
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    EXPECT_EQ(f.readAll(), QByteArray("SetParameter=Earlier, D11\r\n"));
    f.close();
    QDir(homeDir).removeRecursively();
}

TEST_F(SaveRestore, RefusedReadAsksWithTheSystemsWords) {
    vorix::sim::Device& dev = attachDevice();
    dev.options().faults.errorFor.insert("B2", 4);
    answerPrompts({false});
    ui::SaveSettings();
    ASSERT_EQ(m_prompts.size(), 1);
    EXPECT_TRUE(
        m_prompts.at(0).startsWith(QStringLiteral("Confirm Operation: Could not Retrieve the Gorda "
                                                  "Paramter Contrast for State  Input Video 1")));
}

TEST_F(SaveRestore, RestoreAsksWhenAStateIsRefused) {
    vorix::sim::Device& dev = attachDevice();
    writeHomeFile(QStringLiteral("Settings.txt"),
                  "SetState=Input Video 1,4C1; SetParameter=Brightness, B15\r\n"
                  "SetState=Input Video 2,4C2; SetParameter=Brightness, B16\r\n");
    ui::RestoreSettings(); // let the first state in
    dev.options().faults.errorFor.insert("4C", 4);
    answerPrompts({false});
    const int from = logSize();
    ui::RestoreSettings();
    ASSERT_EQ(m_prompts.size(), 1);
    EXPECT_TRUE(m_prompts.at(0).startsWith(
        QStringLiteral("Confirm Operation: Could not set the Gorda state to Input Video 1")));
    // Cancel at the first state goes to the view's return: its frames follow.
    EXPECT_TRUE(sent(from).contains(query("E0")));
}

TEST_F(SaveRestore, CancelAtASecondStateEndsAtOnceWithoutTheView) {
    attachDevice();
    // The device refuses input 99: the second state cannot be set.
    writeHomeFile(QStringLiteral("Settings.txt"),
                  "SetState=Input Video 1,4C1; SetParameter=Brightness, B15\r\n"
                  "SetState=Input Bogus,4C99; SetParameter=Brightness, B16\r\n");
    answerPrompts({false});
    const int from = logSize();
    ui::RestoreSettings();
    ASSERT_EQ(m_prompts.size(), 1);
    EXPECT_TRUE(m_prompts.at(0).startsWith(
        QStringLiteral("Confirm Operation: Could not set the Gorda state to Input Bogus")));
    EXPECT_FALSE(sent(from).contains(query("E0"))); // no view put back
}

TEST_F(SaveRestore, NoSettingRowsIsReportedAndUnticksSaveSettings) {
    attachDevice();
    ui::Config().StateSettings = {core::StateSettingRow()};
    s().chkSaveRestore->setChecked(true);
    ui::SaveSettings();
    EXPECT_TRUE(s().lblMessage->text().startsWith(QStringLiteral(
        "Unable to save current settings as no settings data was provided in INI file.")));
    EXPECT_FALSE(s().chkSaveRestore->isChecked());
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("Settings.txt"))));
}

// Unticked by the save, "Save Settings" runs its Click: "Restore Defaults" is free again.
TEST_F(SaveRestore, UntickedSaveSettingsFreesRestoreDefaults) {
    attachDevice();
    ui::Config().StateSettings = {core::StateSettingRow()};
    s().chkSaveRestore->setEnabled(true);
    s().chkSaveRestore->setChecked(false);
    QTest::mouseClick(s().chkSaveRestore, Qt::LeftButton, {},
                      QPoint(6, s().chkSaveRestore->height() / 2));
    ASSERT_TRUE(s().chkSaveRestore->isChecked());
    ASSERT_FALSE(s().chkDefaults->isEnabled());
    ui::SaveSettings();
    EXPECT_FALSE(s().chkSaveRestore->isChecked());
    EXPECT_FALSE(s().chkDefaults->isChecked());
    EXPECT_TRUE(s().chkDefaults->isEnabled());
}

TEST_F(SaveRestore, SaveAsTakesOnlyTheWritablePresets) {
    vorix::sim::Device& dev = attachDevice();
    struct Row {
        int index;
        const char* sentValue; // nullptr: refused
    };
    for (const Row r : {Row{3, nullptr}, Row{4, "0"}, Row{13, "9"}, Row{-1, nullptr}}) {
        s().lstPreset->setCurrentRow(r.index);
        const int from = logSize();
        QTest::mouseClick(s().cmdSaveAs, Qt::LeftButton);
        if (r.sentValue) {
            EXPECT_EQ(sent(from).value(0), set("53", QLatin1String(r.sentValue))) << r.index;
        } else {
            EXPECT_TRUE(sent(from).isEmpty()) << r.index;
            EXPECT_TRUE(s().lblMessage->text().startsWith(
                QStringLiteral("No valid preset has been selected.")));
        }
    }
    (void)dev;
}

// Sixteen presets in the file: index 14 lies beyond the ten that can be written.
class ManyPresets : public SaveRestore {
protected:
    QByteArray ini() override {
        QByteArray text = sampleIni();
        const QByteArray from = "(13)User 10 ;";
        EXPECT_TRUE(text.contains(from));
        text.replace(from, "(13)User 10,(14)User 11,(15)User 12 ;");
        return text;
    }
};

TEST_F(ManyPresets, PresetIndex14IsNoValidPreset) {
    attachDevice();
    ASSERT_EQ(s().lstPreset->count(), 16);
    s().lstPreset->setCurrentRow(14);
    const int from = logSize();
    QTest::mouseClick(s().cmdSaveAs, Qt::LeftButton);
    EXPECT_TRUE(sent(from).isEmpty());
    EXPECT_TRUE(
        s().lblMessage->text().startsWith(QStringLiteral("No valid preset has been selected.")));
    s().lstPreset->setCurrentRow(13);
    const int from13 = logSize();
    QTest::mouseClick(s().cmdSaveAs, Qt::LeftButton);
    EXPECT_EQ(sent(from13).value(0), set("53", QStringLiteral("9")));
}

// A Telvo.ini without setting rows (no [SETTINGSBYSTATE], no [GENERALSETTINGS]): nothing to
// save, and it is said.
class NoSettingRows : public SaveRestore {
protected:
    QByteArray ini() override {
        QByteArray text = sampleIni();
        const qsizetype a = text.indexOf("[SETTINGSBYSTATE]");
        const qsizetype b = text.indexOf("[REMOTECODES]");
        EXPECT_TRUE(a > 0 && b > a);
        return text.left(a) + text.mid(b);
    }
};

TEST_F(NoSettingRows, SaveSaysThereAreNoSettingRows) {
    attachDevice();
    ASSERT_EQ(core::TableRows(ui::Config().StateSettings), 0);
    s().chkSaveRestore->setEnabled(true);
    s().chkSaveRestore->setChecked(true);
    const int from = logSize();
    QTest::mouseClick(s().cmdSave, Qt::LeftButton);
    EXPECT_TRUE(s().lblMessage->text().startsWith(QStringLiteral(
        "Unable to save current settings as no settings data was provided in INI file.")));
    EXPECT_TRUE(sent(from).isEmpty());
    EXPECT_FALSE(s().chkSaveRestore->isChecked());
    EXPECT_TRUE(s().chkDefaults->isEnabled());
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("Settings.txt"))));
}

TEST_F(SaveRestore, SaveAsOfAProfileSendsItsNumber) {
    attachDevice();
    s().lstProfile->setCurrentRow(2);
    const int from = logSize();
    QTest::mouseClick(s().cmdSaveAs2, Qt::LeftButton);
    EXPECT_EQ(sent(from).value(0), set("52", QStringLiteral("3")));
    s().lstProfile->setCurrentRow(-1);
    QTest::mouseClick(s().cmdSaveAs2, Qt::LeftButton);
    EXPECT_TRUE(
        s().lblMessage->text().startsWith(QStringLiteral("No valid Profile has been selected.")));
}

} // namespace
