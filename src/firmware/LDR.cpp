#include "firmware/LDR.h"

#include "app/Globals.h"
#include "app/MajorSubs.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace telvo::ui {

LDR::LDR() {
    setObjectName(QStringLiteral("LDR"));
    setWindowTitle(QStringLiteral("Firmware Loader"));
    auto* root = new QVBoxLayout(this);
    Text1 = new QPlainTextEdit(this);
    Text1->setReadOnly(true);
    Text1->setFont(QFont(QStringLiteral("Courier New"), 9));
    root->addWidget(Text1, 1);
    auto* row = new QHBoxLayout;
    CTSled = new QLabel(this);
    CTSled->setFixedSize(16, 16);
    lblCTS = new QLabel(QStringLiteral("CTS"), this);
    lblWait = new QLabel(QStringLiteral("WAIT - Processing"), this);
    chkNoFWupdate = new QCheckBox(QStringLiteral("No Firmware Update (Testing)"), this);
    cmdStart = new QPushButton(QStringLiteral("Start"), this);
    cmdEnd = new QPushButton(QStringLiteral("Exit"), this);
    row->addWidget(CTSled);
    row->addWidget(lblCTS);
    row->addWidget(lblWait);
    row->addWidget(chkNoFWupdate);
    row->addStretch();
    row->addWidget(cmdStart);
    row->addWidget(cmdEnd);
    root->addLayout(row);
    auto* status = new QHBoxLayout;
    lblMessage = new ClickLabel(this);
    lblMessage->setWordWrap(true);
    cmdContinue = new QPushButton(QStringLiteral("Continue"), this);
    cmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
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
    connect(tmrmessage, &platform::Timer::Tick, this, [] { Handle(tmrmessageLDR_Timer); });
    connect(lblMessage, &ClickLabel::DblClick, this, [] { Handle(lblMessageLDR_DblClick); });
    ResetIdle();
}

void LDR::setCTSColor(int r, int g, int b) {
    CTSled->setStyleSheet(QStringLiteral("background-color: rgb(%1,%2,%3)").arg(r).arg(g).arg(b));
}

void LDR::SyncText() {
    const core::ConsoleText& t = G().ldrText;
    if (t.revision() == m_shownRevision) return;
    m_shownRevision = t.revision();
    Text1->setPlainText(t.text());
    Text1->moveCursor(QTextCursor::End);
}

void LDR::ResetIdle() {
    CTSled->hide();
    lblCTS->hide();
    lblWait->hide();
    cmdEnd->setEnabled(true);
    cmdStart->setEnabled(true);
}

} // namespace telvo::ui
