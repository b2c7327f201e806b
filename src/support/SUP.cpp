#include "support/SUP.h"

#include "support/SupportState.h"
#include "support/url_helper.h"

#include "app/Controls.h"
#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "core/support/ReleaseNotes.h"
#include "core/support/UpdateList.h"
#include "core/support/url_helper.h"
#include "core/text/Classic.h"
#include "core/text/MinorSubs.h"
#include "platform/clock/DoEvents.h"
#include "platform/dialogs/Platform.h"
#include "platform/os/AppPath.h"
#include "platform/os/Shell.h"
#include "settings/SCL.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QSaveFile>
#include <QVBoxLayout>

namespace telvo::ui {

namespace {

const QString kCrLf = QStringLiteral("\r\n");
constexpr int kExclamation = 48;

QLabel* label(const QString& caption, QWidget* parent, const char* name) {
    auto* l = new QLabel(caption, parent);
    l->setObjectName(QLatin1String(name));
    l->setAccessibleName(caption);
    return l;
}

// Deletes a file, ignoring any error.
void Kill(const QString& path) {
    QFile::remove(path);
}

} // namespace

SUP::SUP() {
    setObjectName(QStringLiteral("SUP"));
    setWindowTitle(QStringLiteral("Support and Update"));
    auto* root = new QVBoxLayout(this);
    frmUPD = new QGroupBox(QStringLiteral("Support and Update"), this);
    frmUPD->setObjectName(QStringLiteral("frmUPD"));
    root->addWidget(frmUPD);
    auto* grid = new QGridLayout(frmUPD);

    Label14 = label(QStringLiteral("Available Firmware"), frmUPD, "Label14");
    lstResponse = new QListWidget(frmUPD);
    lstResponse->setObjectName(QStringLiteral("lstResponse"));
    lstResponse->setMinimumSize(260, 180);
    Label14->setBuddy(lstResponse);
    lstResponse->setAccessibleName(QStringLiteral("Available Firmware"));
    Label15 = label(QStringLiteral("Double click on a Firmware file name to load the file into "
                                   "the Firmware folder."),
                    frmUPD, "Label15");
    Label15->setWordWrap(true);
    Label1 = label(QStringLiteral("Key Web Sites"), frmUPD, "Label1");
    lstForums = new QListWidget(frmUPD);
    lstForums->setObjectName(QStringLiteral("lstForums"));
    lstForums->setMinimumSize(220, 180);
    Label1->setBuddy(lstForums);
    lstForums->setAccessibleName(QStringLiteral("Key Web Sites"));

    cmdGetUPDlist = NamedButton(QStringLiteral("Show Available Files"), frmUPD, "cmdGetUPDlist");
    cmdDnLdRN = NamedButton(QStringLiteral("Release Notes"), frmUPD, "cmdDnLdRN");
    cndDnLdFrk = NamedButton(QStringLiteral("Download frk"), frmUPD, "cndDnLdFrk");
    cmdTelvohome = NamedButton(QStringLiteral("Telvo Home"), frmUPD, "cmdTelvohome");
    cmdTroubleTicket = NamedButton(QStringLiteral("Trouble Ticket"), frmUPD, "cmdTroubleTicket");
    cmdUPDdone = NamedButton(QStringLiteral("Done"), this, "cmdUPDdone");
    chkIE = new QCheckBox(QStringLiteral("Download file using IE dialog"), frmUPD);
    chkIE->setObjectName(QStringLiteral("chkIE"));
    chkIE->setAccessibleName(chkIE->text());
    chkBrowser = new QCheckBox(QStringLiteral("Show Release Notes using IE Explorer"), frmUPD);
    chkBrowser->setObjectName(QStringLiteral("chkBrowser"));
    chkBrowser->setAccessibleName(chkBrowser->text());

    lblNotWorking = label(QString(), frmUPD, "lblNotWorking");
    lblNotWorking->setStyleSheet(QStringLiteral("color: #800000; font-weight: bold"));
    lblNotWorking->setWordWrap(true);

    Frame4 = new QGroupBox(frmUPD);
    Frame4->setObjectName(QStringLiteral("Frame4"));
    auto* ask = new QHBoxLayout(Frame4);
    Label16 = label(QStringLiteral("File already exists in Firmware folder, Overwrite?"), Frame4,
                    "Label16");
    cmdYes = NamedButton(QStringLiteral("Yes"), Frame4, "cmdYes");
    cmdNo = NamedButton(QStringLiteral("No"), Frame4, "cmdNo");
    ask->addWidget(Label16, 1);
    ask->addWidget(cmdYes);
    ask->addWidget(cmdNo);
    Frame4->hide();

    auto* fileButtons = new QHBoxLayout;
    fileButtons->addWidget(cmdGetUPDlist);
    fileButtons->addWidget(cmdDnLdRN);
    fileButtons->addWidget(cndDnLdFrk);
    auto* webButtons = new QHBoxLayout;
    webButtons->addWidget(cmdTelvohome);
    webButtons->addWidget(cmdTroubleTicket);

    grid->addWidget(Label14, 0, 0);
    grid->addWidget(Label1, 0, 1);
    grid->addWidget(lstResponse, 1, 0);
    grid->addWidget(lstForums, 1, 1);
    grid->addWidget(Label15, 2, 0);
    grid->addLayout(fileButtons, 3, 0);
    grid->addLayout(webButtons, 3, 1);
    grid->addWidget(chkIE, 4, 0);
    grid->addWidget(chkBrowser, 5, 0);
    grid->addWidget(lblNotWorking, 7, 0, 1, 2);
    grid->addWidget(Frame4, 6, 0, 1, 2);

    auto* bottom = new QHBoxLayout;
    lblWWW = label(QStringLiteral("WWW - Operation in Progress"), this, "lblWWW");
    lblWWW->setAccessibleName(QStringLiteral("Status"));
    lblWWW->setMinimumWidth(420);
    bottom->addWidget(lblWWW, 1);
    bottom->addWidget(cmdUPDdone);
    root->addLayout(bottom);

    tmrCaption = new platform::Timer(this);
    winsock = new QTcpSocket(this);
    inet = new QNetworkAccessManager(this);
    frmDownload = new QProgressDialog(this);
    frmDownload->setObjectName(QStringLiteral("frmDownload"));
    frmDownload->setWindowTitle(QStringLiteral("Download"));
    frmDownload->setAutoReset(false);
    frmDownload->setAutoClose(false);
    frmDownload->reset();
    frmDownload->hide();

    auto on = [this](auto* sender, auto signal, void (SUP::*slot)()) {
        connect(sender, signal, this, [this, slot] { Handle([this, slot] { (this->*slot)(); }); });
    };
    on(cmdGetUPDlist, &QPushButton::clicked, &SUP::cmdGetUPDlist_Click);
    on(cmdDnLdRN, &QPushButton::clicked, &SUP::cmdDnLdRN_Click);
    on(cndDnLdFrk, &QPushButton::clicked, &SUP::cndDnLdFrk_Click);
    on(cmdTelvohome, &QPushButton::clicked, &SUP::cmdTelvohome_Click);
    on(cmdYes, &QPushButton::clicked, &SUP::cmdYes_Click);
    on(cmdNo, &QPushButton::clicked, &SUP::cmdNo_Click);
    on(cmdUPDdone, &QPushButton::clicked, &SUP::cmdUPDdone_Click);
    on(lstResponse, &QListWidget::itemClicked, &SUP::lstResponse_Click);
    on(lstResponse, &QListWidget::itemDoubleClicked, &SUP::lstResponse_DblClick);
    on(lstForums, &QListWidget::itemDoubleClicked, &SUP::lstForums_DblClick);
    on(tmrCaption, &platform::Timer::Tick, &SUP::tmrCaption_Timer);
    on(winsock, &QTcpSocket::connected, &SUP::winsock_Connect);
    on(winsock, &QTcpSocket::readyRead, &SUP::winsock_DataArrival);
    on(winsock, &QTcpSocket::disconnected, &SUP::winsock_Close);
    connect(winsock, &QTcpSocket::errorOccurred, this,
            [this](QAbstractSocket::SocketError e) { Handle([this, e] { winsock_Error(e); }); });
}

void SUP::Form_Load() {
    CenterForm(this);
    lstForums->clear();
    const auto& sites = Config().WebSites;
    for (qsizetype i = 1; i < sites.size(); ++i)
        lstForums->addItem(sites[i].first);
}

void SUP::Form_Activate() {
    if (SupportSettings().UpdateServiceOn) {
        lblNotWorking->hide();
        Label15->show();
        Label1->show();
        lstForums->setEnabled(true);
        if (IsOnline())
            cmdGetUPDlist_Click();
        else
            ShowAlert(QStringLiteral(
                "The PC is not connected to the Internet.  Support functions are not available"));
        return;
    }
    lblNotWorking->show();
    Label15->hide();
    Label1->hide();
    lstForums->setEnabled(false);
    lblNotWorking->setText(
        QStringLiteral("Please Note: Due to changes in the FRK Web Site design the capability to") +
        kCrLf +
        QStringLiteral(
            "download firmware files and review release notes is temporarily unavailable.") +
        kCrLf +
        QStringLiteral("Please download the files you require manually from the Telvo web site."));
    lblNotWorking->setAccessibleName(lblNotWorking->text());
}

void SUP::cmdGetUPDlist_Click() {
    SupportGlobals& st = Support();
    const QString prefix = core::ModelPrefix(scl().DeviceModel->text(), App().DebuggerMode);
    lblWWW->setText(QStringLiteral("WWW - Operation in Progress, Please wait"));
    HttpGet(Config().UpdateUrl);
    if (st.HttpResponse.isEmpty())
        return;
    lstResponse->clear();
    st.UpdateList = {core::UpdateEntry{}};
    const QString response = st.HttpResponse;
    st.HttpResponse.clear(); // the classic cut eats it
    core::UpdateListResult list = core::ParseUpdateList(response, prefix);
    st.UpdateList = std::move(list.entries);
    for (qsizetype i = 1; i < st.UpdateList.size(); ++i)
        lstResponse->addItem(st.UpdateList[i].FileName);
    lblWWW->clear();
    if (!list.refused.isEmpty()) {
        for (const QString& why : list.refused)
            LogLine(why);
        platform::MessageBox(list.refused.join(kCrLf), kExclamation, QStringLiteral("ERROR"));
    }
}

void SUP::GetFileFromWeb(const QString& extension) {
    SupportGlobals& st = Support();
    const int i = lstResponse->currentRow() + 1;
    lblWWW->clear();
    if (st.UpdateList.size() <= 1)
        return;
    if (i < 1 || i >= st.UpdateList.size())
        throw core::RuntimeError(core::kSubscript, QStringLiteral("Subscript out of range"));
    const core::UpdateEntry entry = st.UpdateList[i];
    const bool notes = core::SameText(extension, QStringLiteral("php"));
    const QString name = entry.FileName + u'.' + extension;

    // Only a plain name may become a file, and only in the firmware folder.
    const QString folder = platform::NativePath(Config().FirmwareDir);
    QString path = platform::NativePath(Config().FirmwareDir + name);
    const QString why = core::UnsafeNameReason(entry.FileName);
    if (!why.isEmpty() ||
        QFileInfo(path).absolutePath() != QFileInfo(folder + u'/').absolutePath()) {
        const QString text =
            QStringLiteral("The file name '") + core::Printable(name) +
            QStringLiteral("' was refused: ") +
            (why.isEmpty() ? QStringLiteral("it leaves the firmware folder") : why);
        LogLine(text);
        platform::MessageBox(text, kExclamation, QStringLiteral("ERROR"));
        return;
    }

    if (chkBrowser->isChecked() && notes) {
        launchWebBrowser(entry.NotesUrl);
        return;
    }
    lblWWW->setText(QStringLiteral("Retrieving ") + extension + QStringLiteral(" file '") + name +
                    u'\'');
    QString url = notes ? entry.NotesUrl : entry.FileUrl;
    if (chkIE->isChecked()) {
        ShowDownloadDialog(url);
        lblWWW->setText(QStringLiteral("Download of '") + name + QStringLiteral("' Complete"));
        startCaptionTimer();
        return;
    }
    if (core::FileExists(path)) {
        Frame4->show();
        while (!Frame4->isHidden())
            platform::DoEvents();
        if (st.OverwriteAnswer == 7) {
            if (!notes) {
                lblWWW->setText(QStringLiteral("Retrieval of file '") + name +
                                QStringLiteral("' cancelled by user"));
                startCaptionTimer();
                return;
            }
            lblWWW->clear();
            ShowReleaseNotes(path);
            return;
        }
    }
    Kill(path);
    platform::DoEvents();
    const qint16 rc = DownloadToFile(url, path);
    if (rc != 0) {
        lblWWW->setText(QStringLiteral("Error downloading file, Error code=") +
                        QString::number(rc));
        startCaptionTimer();
        return;
    }
    const qint64 length = QFileInfo(path).size();
    if (notes) {
        lblWWW->clear();
        ShowReleaseNotes(path);
        return;
    }
    lblWWW->setText(QStringLiteral("Download of '") + name + QStringLiteral("' Complete, ") +
                    core::FormatThousands(length) + QStringLiteral(" bytes"));
    startCaptionTimer();
}

void SUP::ShowReleaseNotes(const QString& file) {
    // Written into the program's folder only, from the cut text alone.
    const QString out = platform::AppPath() + QStringLiteral("/ReleaseNotes.html");
    bool keepOut = false;
    QFile in(file);
    if (!in.open(QIODevice::ReadOnly))
        throw core::RuntimeError(53, QStringLiteral("File not found"));
    const std::optional<QString> text = core::CutReleaseNotes(core::FirstLineOf(in.readAll()));
    in.close();
    if (!text) {
        lblWWW->setText(QStringLiteral("Release notes missing Marker 1, can not format"));
        startCaptionTimer();
    } else {
        QSaveFile page(out);
        if (!page.open(QIODevice::WriteOnly) || page.write(text->toLatin1()) < 0 || !page.commit())
            throw core::RuntimeError(75, QStringLiteral("Path/File access error"));
        const QString ext = core::TrimBlank(out.mid(out.lastIndexOf(u'.') + 1));
        const QString program = platform::CurrentShell().FindProgramFor(out);
        if (program.isEmpty()) {
            const QString msg =
                QStringLiteral("There is no associated program for files of type '") + ext +
                QStringLiteral("'.") + kCrLf + QStringLiteral("The normal association for '") +
                ext + QStringLiteral("' is 'Internet Explorer'") + kCrLf +
                QStringLiteral("Set up the association by opening a folder and using "
                               "tools/options/file types") +
                kCrLf;
            LogLine(QStringLiteral("There is no Association for file '") + out);
            platform::MessageBox(msg);
            Kill(out);
            return;
        }
        LogLine(QStringLiteral("Association for file '") + out + QStringLiteral("' is '") +
                program + u'\'');
        platform::CurrentShell().OpenUrl(QUrl::fromLocalFile(out));
        // Without a browser window to wait on, the page must outlive this call: the browser
        // reads it after we return. The next notes overwrite it.
        keepOut = platform::CurrentShell().FindBrowserWindow() == 0;
        waitOnBrowser();
    }
    Kill(file);
    if (!keepOut)
        Kill(out);
}

void SUP::waitOnBrowser() {
    platform::Shell& shell = platform::CurrentShell();
    const platform::WindowHandle w = shell.FindBrowserWindow();
    if (w == 0)
        return; // the wait cannot be had here: stay visible
    scl().showMinimized();
    showMinimized();
    shell.BringWindowToTop(w);
    while (shell.IsWindow(w))
        platform::DoEvents();
    scl().showNormal();
    showNormal();
}

void SUP::launchWebBrowser(const QString& url) {
    const QUrl u = QUrl::fromUserInput(url);
    if (!u.isValid() ||
        (u.scheme() != QLatin1String("http") && u.scheme() != QLatin1String("https"))) {
        platform::MessageBox(QStringLiteral("Not a web address: '") + core::Printable(url) + u'\'',
                             kExclamation, QStringLiteral("ERROR"));
        return;
    }
    platform::CurrentShell().OpenUrl(u);
    waitOnBrowser();
}

void SUP::OpenForumThread() {
    launchWebBrowser(SupportSettings().ForumThread);
}

void SUP::noFileSelected() {
    BeepTimes(2);
    lblWWW->setText(QStringLiteral("No file has been selected"));
    startCaptionTimer();
}

void SUP::startCaptionTimer() {
    tmrCaption->setInterval(3000);
    tmrCaption->setEnabled(true);
}

void SUP::cmdDnLdRN_Click() {
    if (lstResponse->currentRow() >= 0)
        GetFileFromWeb(QStringLiteral("php"));
    else
        noFileSelected();
}

void SUP::cndDnLdFrk_Click() {
    if (lstResponse->currentRow() >= 0)
        GetFileFromWeb(QStringLiteral("frk"));
    else
        noFileSelected();
}

void SUP::lstResponse_Click() {
    lblWWW->clear();
}
void SUP::lstResponse_DblClick() {
    GetFileFromWeb(QStringLiteral("frk"));
}

void SUP::lstForums_DblClick() {
    const int i = lstForums->currentRow() + 1;
    const auto& sites = Config().WebSites;
    if (i < 1 || i >= sites.size())
        throw core::RuntimeError(core::kSubscript, QStringLiteral("Subscript out of range"));
    launchWebBrowser(sites[i].second);
}

void SUP::cmdTelvohome_Click() {
    launchWebBrowser(SupportSettings().HomePage);
}

void SUP::cmdYes_Click() {
    Support().OverwriteAnswer = 6;
    Frame4->hide();
}

void SUP::cmdNo_Click() {
    Support().OverwriteAnswer = 7;
    Frame4->hide();
}

void SUP::cmdUPDdone_Click() {
    hide();
    lblWWW->clear();
}

void SUP::tmrCaption_Timer() {
    tmrCaption->setEnabled(false);
    lblWWW->clear();
}

void SUP::winsock_Connect() {
    Support().HttpConnected = true;
}

void SUP::winsock_DataArrival() {
    SupportGlobals& st = Support();
    const QByteArray data = winsock->readAll();
    if (m_tooLarge)
        return;
    if (st.HttpResponse.size() + data.size() > SupportSettings().HttpResponseCap) {
        m_tooLarge = true;
        st.HttpResponse.clear();
        st.HttpConnected = false;
        winsock->abort();
        return;
    }
    // One character a byte: the page is cut by text, whatever it holds.
    st.HttpResponse += core::FixLineEnds(QString::fromLatin1(data));
}

void SUP::winsock_Error(QAbstractSocket::SocketError error) {
    // The peer's orderly close is the Close event, not an error.
    if (error == QAbstractSocket::RemoteHostClosedError)
        return;
    const QString description = winsock->errorString();
    platform::MessageBox(description, kExclamation, QStringLiteral("ERROR"));
    winsock->close();
}

void SUP::winsock_Close() {
    Support().HttpConnected = false;
    winsock->close();
}

} // namespace telvo::ui
