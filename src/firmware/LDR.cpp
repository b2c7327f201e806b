#include "firmware/LDR.h"

#include "app/Controls.h"
#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "firmware/Firmware.h"
#include "platform/dialogs/Platform.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace telvo::ui {

namespace {
const QString kTitle = QStringLiteral("Vorix Firmware Loader");

QString duration(qint64 seconds) {
    if (seconds < 60)
        return QStringLiteral("%1 s").arg(seconds);
    return QStringLiteral("%1 min %2 s")
        .arg(seconds / 60)
        .arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

// The transfer as values, for a platform that shows it other than by the bar and the title.
void tellProgress(qint64 done, qint64 total, int percent, const QString& text) {
    platform::Progress p;
    p.done = done;
    p.total = total;
    p.percent = percent;
    p.text = text;
    platform::ProgressMade(p);
}
} // namespace

LDR::LDR() {
    setObjectName(QStringLiteral("LDR"));
    setWindowTitle(kTitle);
    auto* root = new QVBoxLayout(this);

    auto* fileRow = new QHBoxLayout;
    auto* fileLabel = new QLabel(QStringLiteral("File"), this);
    txtFileName = new QLineEdit(this);
    txtFileName->setObjectName(QStringLiteral("txtFileName"));
    txtFileName->setReadOnly(true);
    txtFileName->setAccessibleName(QStringLiteral("File"));
    fileLabel->setBuddy(txtFileName);
    fileRow->addWidget(fileLabel);
    fileRow->addWidget(txtFileName, 1);
    root->addLayout(fileRow);

    Text1 = new QPlainTextEdit(this);
    Text1->setObjectName(QStringLiteral("Text1"));
    Text1->setAccessibleName(QStringLiteral("Boot loader text"));
    Text1->setReadOnly(true);
    Text1->setFont(QFont(QStringLiteral("Courier New"), 9));
    Text1->setMinimumSize(520, 180);
    root->addWidget(Text1, 1);

    auto* progress = new QHBoxLayout;
    prgLoad = new QProgressBar(this);
    prgLoad->setObjectName(QStringLiteral("prgLoad"));
    prgLoad->setAccessibleName(QStringLiteral("Transfer progress"));
    prgLoad->setRange(0, 100);
    prgLoad->setValue(0);
    lblRate = new QLabel(this);
    lblRate->setObjectName(QStringLiteral("lblRate"));
    lblRate->setAccessibleName(QStringLiteral("Transfer rate and time left"));
    progress->addWidget(prgLoad, 1);
    progress->addWidget(lblRate);
    root->addLayout(progress);

    auto* row = new QHBoxLayout;
    CTSled = new QLabel(this);
    CTSled->setObjectName(QStringLiteral("CTSled"));
    CTSled->setAccessibleName(QStringLiteral("CTS lamp"));
    CTSled->setFixedSize(16, 16);
    lblCTS = new QLabel(QStringLiteral("CTS"), this);
    lblCTS->setObjectName(QStringLiteral("lblCTS"));
    lblCTS->setAccessibleName(QStringLiteral("CTS"));
    lblWait = new QLabel(QStringLiteral("WAIT"), this);
    lblWait->setObjectName(QStringLiteral("lblWait"));
    lblWait->setAccessibleName(QStringLiteral("WAIT"));
    lblWait->setStyleSheet(QStringLiteral("color: rgb(255,0,0); font-weight: bold"));
    chkNoFWupdate = new QCheckBox(QStringLiteral("Test"), this);
    chkNoFWupdate->setObjectName(QStringLiteral("chkNoFWupdate"));
    chkNoFWupdate->setAccessibleName(QStringLiteral("Test"));
    chkConfirm = new QCheckBox(QStringLiteral("Confirm"), this);
    chkConfirm->setObjectName(QStringLiteral("chkConfirm"));
    chkConfirm->setAccessibleName(QStringLiteral("Confirm"));
    cmdStart = NamedButton(QStringLiteral("Start"), this, "cmdStart");
    cmdReStart = NamedButton(QStringLiteral("Restart"), this, "cmdReStart");
    cmdEnd = NamedButton(QStringLiteral("Done"), this, "cmdEnd");
    row->addWidget(CTSled);
    row->addWidget(lblCTS);
    row->addWidget(lblWait);
    row->addWidget(chkNoFWupdate);
    row->addWidget(chkConfirm);
    row->addStretch();
    row->addWidget(cmdStart);
    row->addWidget(cmdReStart);
    row->addWidget(cmdEnd);
    root->addLayout(row);

    auto* status = new QHBoxLayout;
    lblMessage = new StatusLine(this);
    lblMessage->setObjectName(QStringLiteral("lblMessage"));
    lblMessage->setAccessibleName(QStringLiteral("Status"));
    lblMessage->setWordWrap(true);
    cmdContinue = NamedButton(QStringLiteral("Continue"), this, "cmdContinue");
    cmdCancel = NamedButton(QStringLiteral("Cancel"), this, "cmdCancel");
    cmdContinue->hide();
    cmdCancel->hide();
    status->addWidget(lblMessage, 1);
    status->addWidget(cmdContinue);
    status->addWidget(cmdCancel);
    root->addLayout(status);
    tmrmessage = new platform::Timer(this, 250);

    connect(cmdContinue, &QPushButton::clicked, this, [this] {
        cmdContinue->hide();
        cmdCancel->hide();
    });
    connect(cmdCancel, &QPushButton::clicked, this, [this] { cmdContinue->hide(); });
    connect(cmdStart, &QPushButton::clicked, this, [] { Handle(cmdStartLDR_Click); });
    connect(cmdReStart, &QPushButton::clicked, this, [] { Handle(ShowRestartWindow); });
    connect(cmdEnd, &QPushButton::clicked, this, [this] { hide(); });
    connect(tmrmessage, &platform::Timer::Tick, this, [] { Handle(tmrmessageLDR_Timer); });
    connect(lblMessage, &ClickLabel::Click, this, [this] { lblMessage->setText(QString()); });
    connect(lblMessage, &ClickLabel::DblClick, this, [] { Handle(lblMessageLDR_DblClick); });
    SetStartColor(kLightGreen);
    ResetIdle();
}

void LDR::showEvent(QShowEvent* e) {
    if (!m_centred) {
        m_centred = true;
        adjustSize();
        CenterForm(this);
    }
    // A restart fills the file box before the window comes up; a fresh look empties it.
    if (!FW().RestartLoad)
        txtFileName->setText(QString());
    QWidget::showEvent(e);
}

void LDR::setCTSColor(int r, int g, int b) {
    CTSled->setStyleSheet(QStringLiteral("background-color: rgb(%1,%2,%3)").arg(r).arg(g).arg(b));
}

void LDR::SetStartColor(int classicColor) {
    m_startColor = classicColor;
    const int r = classicColor & 0xFF, g = (classicColor >> 8) & 0xFF,
              b = (classicColor >> 16) & 0xFF;
    cmdStart->setStyleSheet(QStringLiteral("background-color: rgb(%1,%2,%3)").arg(r).arg(g).arg(b));
}

void LDR::SyncText() {
    m_box.Sync(Text1, G().ldrText);
}

void LDR::ResetIdle() {
    CTSled->hide();
    lblCTS->hide();
    lblWait->hide();
    cmdEnd->setEnabled(true);
    cmdStart->setEnabled(true);
}

void LDR::StartProgress(qint64 total) {
    prgLoad->setValue(0);
    lblRate->setText(QStringLiteral("0 / %1 bytes").arg(total));
    setWindowTitle(QStringLiteral("0% - ") + kTitle);
    tellProgress(0, total, 0, lblRate->text());
}

void LDR::ShowProgress(qint64 done, qint64 total, qint64 elapsedMs) {
    if (done < 0)
        done = 0;
    if (total > 0 && done > total)
        done = total;
    const int percent = total > 0 ? int(done * 100 / total) : 100;
    prgLoad->setValue(percent);
    QString text = QStringLiteral("%1 / %2 bytes").arg(done).arg(total);
    if (elapsedMs > 0 && done > 0) {
        const double rate = double(done) * 1000.0 / double(elapsedMs);
        text += QStringLiteral(", %1 B/s").arg(qRound64(rate));
        if (rate > 0)
            text +=
                QStringLiteral(", %1 left").arg(duration(qRound64(double(total - done) / rate)));
    }
    lblRate->setText(text);
    setWindowTitle(QStringLiteral("%1% - ").arg(percent) + kTitle);
    tellProgress(done, total, percent, text);
}

void LDR::EndProgress() {
    setWindowTitle(kTitle);
    platform::ProgressEnded(platform::Progress::Transfer);
}

} // namespace telvo::ui
