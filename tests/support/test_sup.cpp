// "Support and Update" against a web server on the loopback interface: the list for a model,
// downloads into the firmware folder with the overwrite question, release notes cut and
// written, hostile names, and the notice of the switched-off service.

#include "common/Fixture.h"
#include "platform/doubles/ScriptedShell.h"

#include "common/LoopbackServer.h"

#include "app/Globals.h"
#include "app/Tools.h"
#include "platform/clock/Clock.h"
#include "platform/os/Shell.h"
#include "settings/SCL.h"
#include "support/SUP.h"
#include "support/SupportState.h"
#include "support/url_helper.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace telvo;
using namespace telvo::test;

namespace {

const QByteArray kNotes =
    "<html><body>x<!-- #BeginEditable \"content\" -->body<p><b>Downloads</b></p>tail</body>\r\n"
    "<p>second line</p>\r\n";

class SupWindow : public RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        platform::Clock::instance().setVirtual(false);
        shell = &platform::InstallScriptedShell();
        initControls();
        // Generous for a loaded machine; the tests that wait on a limit shorten it.
        ui::SupportSettings().HttpTimeLimitMs = 10000;
        ui::SupportSettings().DownloadStallLimitMs = 10000;
        ui::SupportSettings().UpdateServiceOn = true;
        ui::Config().UpdateUrl = server.url(QStringLiteral("/update.txt"));
        ui::Config().FirmwareDir = home() + QStringLiteral("/Firmware Files/");
        QDir().mkpath(firmware());
        ui::Config().WebSites = {core::NamedText{},
                                 {QStringLiteral("Forum"), QStringLiteral("http://forum.example/")},
                                 {QStringLiteral("Local"), QStringLiteral("file:///etc/passwd")}};
        ui::scl().DeviceModel->setText(QStringLiteral("Gorda"));
        list(QByteArrayLiteral("gorda_1_2,") +
             server.url(QStringLiteral("/gorda_1_2.frk")).toLatin1() +
             "\r\nfenna_3,http://x/fenna_3.frk\r\ngorda_2_0," +
             server.url(QStringLiteral("/gorda_2_0.frk")).toLatin1() + "\r\n");
        server.page(QStringLiteral("/gorda_1_2.frk"), QByteArray(12345, 'F'));
        server.page(QStringLiteral("/gorda_1_2.php"), kNotes);
    }
    void TearDown() override {
        RunFixture::TearDown();
        platform::InstallDesktopShell();
    }
    void list(const QByteArray& body) { server.page(QStringLiteral("/update.txt"), body); }
    QString firmware() const { return home() + QStringLiteral("/Firmware Files"); }
    QString fw(const QString& name) const { return firmware() + u'/' + name; }
    ui::SUP& w() { return ui::sup(); }
    QStringList listed() {
        QStringList out;
        for (int i = 0; i < w().lstResponse->count(); ++i)
            out << w().lstResponse->item(i)->text();
        return out;
    }
    void click(QWidget* b) { QTest::mouseClick(b, Qt::LeftButton); }
    static void writeFile(const QString& path, const QByteArray& bytes) {
        QFile f(path);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(bytes);
    }
    void select(int row) { w().lstResponse->setCurrentRow(row); }
    // A double click on a row, as a hand gives it: press, release, and the second press.
    void doubleClick(QListWidget* list, int row) {
        const QPoint at = list->visualItemRect(list->item(row)).center();
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, at);
        QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, at);
    }
    // Answers the overwrite question as soon as it stands.
    void answerOverwrite(QPushButton* b) {
        answer = b;
        poll = platform::Clock::instance().scheduleIn(1000, [this] { tryAnswer(); });
    }
    void tryAnswer() {
        if (!w().Frame4->isHidden()) {
            questionAsked = true;
            click(answer);
        } else {
            poll = platform::Clock::instance().scheduleIn(1000, [this] { tryAnswer(); });
        }
    }
    // The application exists before the server, whose socket needs its event dispatcher.
    AppReady m_app;
    LoopbackServer server;
    platform::ScriptedShell* shell = nullptr;
    QPushButton* answer = nullptr;
    platform::Clock::Id poll = 0;
    bool questionAsked = false;
};

TEST_F(SupWindow, SwitchedOffServiceShowsTheNoticeAndFetchesNothing) {
    ui::SupportSettings().UpdateServiceOn = false;
    ui::ShowSUP();
    EXPECT_FALSE(w().lblNotWorking->isHidden());
    EXPECT_EQ(w().lblNotWorking->text(),
              QStringLiteral(
                  "Please Note: Due to changes in the FRK Web Site design the capability to\r\n"
                  "download firmware files and review release notes is temporarily unavailable.\r\n"
                  "Please download the files you require manually from the Telvo web site."));
    EXPECT_TRUE(w().Label15->isHidden());
    EXPECT_TRUE(w().Label1->isHidden());
    EXPECT_FALSE(w().lstForums->isEnabled());
    EXPECT_EQ(server.connections, 0);
    EXPECT_EQ(w().lstResponse->count(), 0);
}

TEST_F(SupWindow, ShippedStateIsTheBuildOption) {
    ui::ResetSession();
    EXPECT_EQ(ui::SupportSettings().UpdateServiceOn, TELVO_UPDATE_SERVICE_ON != 0);
}

TEST_F(SupWindow, WindowCaptionsAndNames) {
    ui::ShowSUP();
    EXPECT_EQ(w().windowTitle(), QStringLiteral("Support and Update"));
    EXPECT_EQ(w().frmUPD->title(), QStringLiteral("Support and Update"));
    EXPECT_EQ(w().cmdGetUPDlist->text(), QStringLiteral("Show Available Files"));
    EXPECT_EQ(w().cmdDnLdRN->text(), QStringLiteral("Release Notes"));
    EXPECT_EQ(w().cndDnLdFrk->text(), QStringLiteral("Download frk"));
    EXPECT_EQ(w().cmdTelvohome->text(), QStringLiteral("Telvo Home"));
    EXPECT_EQ(w().cmdTroubleTicket->text(), QStringLiteral("Trouble Ticket"));
    EXPECT_EQ(w().cmdUPDdone->text(), QStringLiteral("Done"));
    EXPECT_EQ(w().chkIE->text(), QStringLiteral("Download file using IE dialog"));
    EXPECT_EQ(w().chkBrowser->text(), QStringLiteral("Show Release Notes using IE Explorer"));
    EXPECT_EQ(w().Label16->text(),
              QStringLiteral("File already exists in Firmware folder, Overwrite?"));
    EXPECT_EQ(w().Label14->text(), QStringLiteral("Available Firmware"));
    EXPECT_EQ(w().Label1->text(), QStringLiteral("Key Web Sites"));
    EXPECT_TRUE(w().Frame4->isHidden());
    for (QWidget* c : w().findChildren<QWidget*>()) {
        if (c->objectName().isEmpty() || c->objectName().startsWith(QLatin1String("qt_")))
            continue;
        if (qobject_cast<QPushButton*>(c) || qobject_cast<QListWidget*>(c) ||
            qobject_cast<QCheckBox*>(c)) {
            EXPECT_FALSE(c->accessibleName().isEmpty()) << c->objectName().toStdString();
        }
    }
    EXPECT_EQ(w().lstResponse->accessibleName(), QStringLiteral("Available Firmware"));
    EXPECT_EQ(w().lstForums->accessibleName(), QStringLiteral("Key Web Sites"));
    EXPECT_EQ(w().lstForums->count(), 2);
    EXPECT_EQ(w().lstForums->item(0)->text(), QStringLiteral("Forum"));
}

TEST_F(SupWindow, ActivationListsTheModelsFiles) {
    ui::ShowSUP();
    EXPECT_EQ(listed(), (QStringList{QStringLiteral("gorda_1_2"), QStringLiteral("gorda_2_0")}));
    EXPECT_TRUE(w().lblWWW->text().isEmpty());
    EXPECT_TRUE(w().lblNotWorking->isHidden());
    EXPECT_TRUE(w().lstForums->isEnabled());
    ASSERT_EQ(server.requests.size(), 1);
    EXPECT_TRUE(server.requests[0].startsWith("GET /update.txt HTTP/1.0\r\n"));
    EXPECT_EQ(ui::Support().UpdateList[1].NotesUrl, server.url(QStringLiteral("/gorda_1_2.php")));
}

TEST_F(SupWindow, JornPlusGetsJornFiles) {
    ui::scl().DeviceModel->setText(QStringLiteral("Jorn+ V2"));
    list("jorn_1,http://h/j1.frk\r\njornp_2,http://h/j2.frk\r\ngorda_1,http://h/g.frk\r\n");
    ui::ShowSUP();
    EXPECT_EQ(listed(), QStringList{QStringLiteral("jorn_1")});
}

TEST_F(SupWindow, DebuggerModeListsEveryLine) {
    ui::App().DebuggerMode = true;
    ui::ShowSUP();
    EXPECT_EQ(listed(), (QStringList{QStringLiteral("gorda_1_2"), QStringLiteral("fenna_3"),
                                     QStringLiteral("gorda_2_0")}));
}

TEST_F(SupWindow, NotOnlineAlertsAndFetchesNothing) {
    shell->online = false;
    ui::ShowSUP();
    EXPECT_EQ(server.connections, 0);
    EXPECT_TRUE(ui::scl().lblMessage->text().startsWith(QStringLiteral(
        "The PC is not connected to the Internet.  Support functions are not available")));
}

TEST_F(SupWindow, EmptyAnswerLeavesTheStatusStanding) {
    ui::SupportSettings().HttpTimeLimitMs = 300;
    server.mode = LoopbackServer::Mode::Silent;
    ui::ShowSUP();
    EXPECT_EQ(w().lblWWW->text(), QStringLiteral("WWW - Operation in Progress, Please wait"));
    EXPECT_EQ(w().lstResponse->count(), 0);
}

TEST_F(SupWindow, ShortAddressInTheListIsARunTimeError) {
    list("gorda_1,ab\r\n");
    click(ui::scl().cmdSupport);
    EXPECT_EQ(scripted->messageTexts(),
              QStringList{
                  QStringLiteral("Run-time error '5':\r\n\r\nInvalid procedure call or argument")});
}

TEST_F(SupWindow, HostileNamesAreRefusedAndNeverWritten) {
    ui::App().DebuggerMode = true;
    list("../evil," + server.url(QStringLiteral("/gorda_1_2.frk")).toLatin1() +
         "\r\nC:evil,http://h/e.frk\r\nsub/dir,http://h/s.frk\r\nbell\x07,http://h/b.frk\r\n"
         "good," +
         server.url(QStringLiteral("/gorda_1_2.frk")).toLatin1() + "\r\n");
    ui::ShowSUP();
    EXPECT_EQ(listed(), QStringList{QStringLiteral("good")});
    ASSERT_EQ(scripted->messageTexts().size(), 1);
    EXPECT_EQ(
        scripted->messageTexts()[0],
        QStringLiteral("The file name '../evil' was refused: it holds a path separator\r\n"
                       "The file name 'C:evil' was refused: it holds a drive letter or colon\r\n"
                       "The file name 'sub/dir' was refused: it holds a path separator\r\n"
                       "The file name 'bell(BEL)' was refused: it holds a control character"));
    EXPECT_FALSE(QFile::exists(home() + QStringLiteral("/evil.frk")));
    EXPECT_EQ(server.connections, 1);
}

TEST_F(SupWindow, DownloadGoesIntoTheFirmwareFolder) {
    ui::ShowSUP();
    select(0);
    click(w().cndDnLdFrk);
    EXPECT_EQ(w().lblWWW->text(),
              QStringLiteral("Download of 'gorda_1_2.frk' Complete, 012,345 bytes"));
    QFile f(fw(QStringLiteral("gorda_1_2.frk")));
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    EXPECT_EQ(f.readAll(), QByteArray(12345, 'F'));
    // The status clears after three seconds.
    EXPECT_TRUE(waitUntil([&] { return w().lblWWW->text().isEmpty(); }, 5000));
}

TEST_F(SupWindow, DoubleClickDownloadsToo) {
    ui::ShowSUP();
    doubleClick(w().lstResponse, 0);
    EXPECT_TRUE(QFile::exists(fw(QStringLiteral("gorda_1_2.frk"))));
}

TEST_F(SupWindow, ExistingFileKeptWhenTheUserSaysNo) {
    ui::ShowSUP();
    QFile old(fw(QStringLiteral("gorda_1_2.frk")));
    writeFile(old.fileName(), "old");
    select(0);
    answerOverwrite(w().cmdNo);
    click(w().cndDnLdFrk);
    EXPECT_TRUE(questionAsked);
    EXPECT_EQ(w().lblWWW->text(),
              QStringLiteral("Retrieval of file 'gorda_1_2.frk' cancelled by user"));
    ASSERT_TRUE(old.open(QIODevice::ReadOnly));
    EXPECT_EQ(old.readAll(), QByteArray("old"));
    EXPECT_EQ(ui::Support().OverwriteAnswer, 7);
}

TEST_F(SupWindow, ExistingFileReplacedWhenTheUserSaysYes) {
    ui::ShowSUP();
    QFile old(fw(QStringLiteral("gorda_1_2.frk")));
    writeFile(old.fileName(), "old");
    select(0);
    answerOverwrite(w().cmdYes);
    click(w().cndDnLdFrk);
    EXPECT_TRUE(questionAsked);
    EXPECT_EQ(QFileInfo(old).size(), 12345);
    EXPECT_EQ(w().lblWWW->text(),
              QStringLiteral("Download of 'gorda_1_2.frk' Complete, 012,345 bytes"));
}

TEST_F(SupWindow, MissingFileOnTheServerIsAnErrorCode) {
    ui::ShowSUP();
    select(1); // gorda_2_0.frk: no such page
    click(w().cndDnLdFrk);
    EXPECT_EQ(w().lblWWW->text(), QStringLiteral("Error downloading file, Error code=203"));
    EXPECT_FALSE(QFile::exists(fw(QStringLiteral("gorda_2_0.frk"))));
}

TEST_F(SupWindow, DownloadPastTheCapIsStopped) {
    ui::SupportSettings().DownloadCap = 1000;
    ui::ShowSUP();
    select(0);
    click(w().cndDnLdFrk);
    EXPECT_EQ(w().lblWWW->text(), QStringLiteral("Error downloading file, Error code=299"));
    EXPECT_FALSE(QFile::exists(fw(QStringLiteral("gorda_1_2.frk"))));
}

TEST_F(SupWindow, CancelInTheProgressDialogStopsADownload) {
    ui::ShowSUP();
    server.mode = LoopbackServer::Mode::Trickle;
    select(0);
    bool pressed = false;
    std::function<void()> press = [&] {
        if (w().frmDownload->isVisible()) {
            pressed = true;
            click(w().frmDownload->findChild<QPushButton*>());
        } else {
            platform::Clock::instance().scheduleIn(100000, press);
        }
    };
    platform::Clock::instance().scheduleIn(100000, press);
    click(w().cndDnLdFrk);
    EXPECT_TRUE(pressed);
    EXPECT_EQ(w().lblWWW->text(), QStringLiteral("Error downloading file, Error code=5"));
    EXPECT_FALSE(QFile::exists(fw(QStringLiteral("gorda_1_2.frk"))));
}

TEST_F(SupWindow, StalledDownloadEndsAtTheStallLimit) {
    ui::SupportSettings().DownloadStallLimitMs = 300;
    ui::ShowSUP();
    server.mode = LoopbackServer::Mode::Trickle;
    select(0);
    click(w().cndDnLdFrk);
    EXPECT_EQ(w().lblWWW->text(), QStringLiteral("Error downloading file, Error code=4"));
    EXPECT_FALSE(QFile::exists(fw(QStringLiteral("gorda_1_2.frk"))));
}

TEST_F(SupWindow, NoRowSelectedBeepsTwice) {
    ui::ShowSUP();
    w().lstResponse->setCurrentRow(-1);
    click(w().cmdDnLdRN);
    EXPECT_EQ(w().lblWWW->text(), QStringLiteral("No file has been selected"));
    EXPECT_EQ(scripted->beeps, 2);
    click(w().cndDnLdFrk);
    EXPECT_EQ(scripted->beeps, 4);
}

// A page in windows-1252 (or UTF-8, or anything): the cut is written as the bytes read.
TEST_F(SupWindow, ReleaseNotesKeepTheBytesOfThePage) {
    ui::ShowSUP();
    writeHomeFile(QStringLiteral("notes1252.php"),
                  "<html>#BeginEditable \"content\" --> caf\xE9 \x80 na\xEFve</html>\r\nrest");
    w().ShowReleaseNotes(homeFile(QStringLiteral("notes1252.php")));
    EXPECT_EQ(readHomeFile(QStringLiteral("ReleaseNotes.html")),
              QByteArray("caf\xE9 \x80 na\xEFve</html>"));
    writeHomeFile(QStringLiteral("notes8.php"),
                  "<html>#BeginEditable \"content\" --> caf\xC3\xA9</html>");
    w().ShowReleaseNotes(homeFile(QStringLiteral("notes8.php")));
    EXPECT_EQ(readHomeFile(QStringLiteral("ReleaseNotes.html")), QByteArray("caf\xC3\xA9</html>"));
}

TEST_F(SupWindow, ReleaseNotesAreCutWrittenAndOpened) {
    ui::ShowSUP();
    select(0);
    click(w().cmdDnLdRN);
    const QString page = home() + QStringLiteral("/ReleaseNotes.html");
    EXPECT_EQ(readHomeFile(QStringLiteral("ReleaseNotes.html")),
              QByteArray("body</td></tr></table>"));
    EXPECT_EQ(shell->opened, QStringList{QUrl::fromLocalFile(page).toString()});
    EXPECT_FALSE(QFile::exists(fw(QStringLiteral("gorda_1_2.php"))));
    EXPECT_TRUE(logLines().contains(QStringLiteral("Association for file '") + page +
                                    QStringLiteral("' is '/usr/bin/xdg-open'")));
    // Nothing is written beside the firmware but the downloads themselves.
    EXPECT_EQ(QDir(firmware()).entryList(QDir::Files), QStringList{});
}

TEST_F(SupWindow, ReleaseNotesWithoutMarkerAreDropped) {
    server.page(QStringLiteral("/gorda_1_2.php"), "<html>\r\n<!-- #BeginEditable \"content\" -->b");
    ui::ShowSUP();
    select(0);
    click(w().cmdDnLdRN);
    EXPECT_EQ(w().lblWWW->text(), QStringLiteral("Release notes missing Marker 1, can not format"));
    EXPECT_FALSE(QFile::exists(fw(QStringLiteral("gorda_1_2.php"))));
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("ReleaseNotes.html"))));
    EXPECT_TRUE(shell->opened.isEmpty());
}

TEST_F(SupWindow, NoProgramForHtmlShowsTheThreeLines) {
    shell->program.clear();
    ui::ShowSUP();
    select(0);
    click(w().cmdDnLdRN);
    EXPECT_EQ(
        scripted->messageTexts(),
        QStringList{QStringLiteral(
            "There is no associated program for files of type 'html'.\r\n"
            "The normal association for 'html' is 'Internet Explorer'\r\n"
            "Set up the association by opening a folder and using tools/options/file types\r\n")});
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("ReleaseNotes.html"))));
    EXPECT_TRUE(QFile::exists(fw(QStringLiteral("gorda_1_2.php"))));
    EXPECT_TRUE(logLines().contains(QStringLiteral("There is no Association for file '") + home() +
                                    QStringLiteral("/ReleaseNotes.html")));
}

TEST_F(SupWindow, KeptOldNotesAreShown) {
    writeFile(fw(QStringLiteral("gorda_1_2.php")), "<!-- #BeginEditable \"content\" -->old notes");
    ui::ShowSUP();
    select(0);
    answerOverwrite(w().cmdNo);
    click(w().cmdDnLdRN);
    EXPECT_TRUE(questionAsked);
    EXPECT_EQ(readHomeFile(QStringLiteral("ReleaseNotes.html")), QByteArray("old notes"));
    EXPECT_TRUE(w().lblWWW->text().isEmpty());
}

TEST_F(SupWindow, BrowserBoxOpensTheNotesAddressDirectly) {
    ui::ShowSUP();
    w().chkBrowser->setChecked(true);
    select(0);
    click(w().cmdDnLdRN);
    EXPECT_EQ(shell->opened, QStringList{server.url(QStringLiteral("/gorda_1_2.php"))});
    EXPECT_FALSE(QFile::exists(fw(QStringLiteral("gorda_1_2.php"))));
}

TEST_F(SupWindow, SystemDialogBoxOffersTheFile) {
    ui::ShowSUP();
    w().chkIE->setChecked(true);
    select(0);
    click(w().cndDnLdFrk);
    EXPECT_EQ(shell->opened, QStringList{server.url(QStringLiteral("/gorda_1_2.frk"))});
    EXPECT_EQ(w().lblWWW->text(), QStringLiteral("Download of 'gorda_1_2.frk' Complete"));
}

TEST_F(SupWindow, WebSitesOpenInTheBrowser) {
    ui::ShowSUP();
    doubleClick(w().lstForums, 0);
    EXPECT_EQ(shell->opened, QStringList{QStringLiteral("http://forum.example/")});
    click(w().cmdTelvohome);
    ASSERT_EQ(shell->opened.size(), 2);
    EXPECT_EQ(shell->opened[1], ui::SupportSettings().HomePage);
}

TEST_F(SupWindow, OnlyWebAddressesAreOpened) {
    ui::ShowSUP();
    w().lstForums->setCurrentRow(1);
    w().lstForums_DblClick();
    EXPECT_TRUE(shell->opened.isEmpty());
    EXPECT_EQ(scripted->messageTexts(),
              QStringList{QStringLiteral("Not a web address: 'file:///etc/passwd'")});
}

TEST_F(SupWindow, WatchedBrowserWindowHidesTheProgramUntilItCloses) {
    shell->browserWindow = 42;
    shell->browserOpen = true;
    ui::ShowSUP();
    bool minimisedMeanwhile = false;
    platform::Clock::instance().scheduleIn(50000, [&] {
        minimisedMeanwhile = w().isMinimized() && ui::scl().isMinimized();
        shell->browserOpen = false;
    });
    click(w().cmdTelvohome);
    EXPECT_TRUE(minimisedMeanwhile);
    EXPECT_FALSE(w().isMinimized());
    EXPECT_EQ(shell->raised, QList<platform::WindowHandle>{42});
}

TEST_F(SupWindow, WithoutABrowserWindowTheProgramStaysVisible) {
    ui::ShowSUP();
    click(w().cmdTelvohome);
    EXPECT_FALSE(w().isMinimized());
    EXPECT_TRUE(shell->raised.isEmpty());
}

TEST_F(SupWindow, DoneHidesAndClearsTheStatus) {
    ui::ShowSUP();
    w().lblWWW->setText(QStringLiteral("x"));
    click(w().cmdUPDdone);
    EXPECT_TRUE(w().isHidden());
    EXPECT_TRUE(w().lblWWW->text().isEmpty());
}

TEST_F(SupWindow, MainWindowButtonOpensTheWindow) {
    click(ui::scl().cmdSupport);
    EXPECT_TRUE(w().isVisible());
    EXPECT_EQ(w().lstResponse->count(), 2);
}

} // namespace
