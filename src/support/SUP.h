#pragma once
// "Support and Update": the firmware files on the web for the connected model, their download
// into the firmware folder, release notes, and key web sites in the browser.

#include "platform/clock/Timer.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QListWidget>
#include <QNetworkAccessManager>
#include <QProgressDialog>
#include <QPushButton>
#include <QTcpSocket>
#include <QWidget>

namespace telvo::ui {

class SUP : public QWidget {
    Q_OBJECT
public:
    SUP();

    QGroupBox* frmUPD;
    QListWidget* lstResponse;
    QListWidget* lstForums;
    QPushButton* cmdGetUPDlist;
    QPushButton* cmdDnLdRN;
    QPushButton* cndDnLdFrk;
    QPushButton* cmdTelvohome;
    QPushButton* cmdTroubleTicket;
    QPushButton* cmdUPDdone;
    QCheckBox* chkIE;
    QCheckBox* chkBrowser;
    QGroupBox* Frame4;
    QLabel* Label16;
    QPushButton* cmdYes;
    QPushButton* cmdNo;
    QLabel* lblWWW;
    QLabel* lblNotWorking;
    QLabel* Label15;
    QLabel* Label14;
    QLabel* Label1;
    platform::Timer* tmrCaption;
    QTcpSocket* winsock;
    QNetworkAccessManager* inet;  // large downloads
    QProgressDialog* frmDownload; // progress of a download, with Cancel

    void Form_Load();
    void Form_Activate();

    void cmdGetUPDlist_Click();
    void GetFileFromWeb(const QString& extension);
    void ShowReleaseNotes(const QString& file);
    void launchWebBrowser(const QString& url);
    // The support forum thread: a fixed address that nothing in the program opens.
    void OpenForumThread();

    void cmdDnLdRN_Click();
    void cndDnLdFrk_Click();
    void lstResponse_Click();
    void lstResponse_DblClick();
    void lstForums_DblClick();
    void cmdTelvohome_Click();
    void cmdYes_Click();
    void cmdNo_Click();
    void cmdUPDdone_Click();
    void tmrCaption_Timer();

    void winsock_Connect();
    void winsock_DataArrival();
    void winsock_Error(QAbstractSocket::SocketError error);
    void winsock_Close();

    // Set when the page grew past its cap; the fetch then ends empty.
    bool m_tooLarge = false;

private:
    void noFileSelected();
    void startCaptionTimer();
    // Hides the window's two windows while the browser is up, when its window can be watched.
    void waitOnBrowser();
};

} // namespace telvo::ui
