#include "link/DBG.h"

#include "app/Controls.h"
#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "core/text/Classic.h"
#include "firmware/LDR.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "settings/SCL.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QScreen>
#include <QVBoxLayout>

namespace telvo::ui {

namespace {
const QString kCrLf = QStringLiteral("\r\n");
}

DBG::DBG() {
    setObjectName(QStringLiteral("DBG"));
    setWindowTitle(QStringLiteral("System Debugger"));
    auto* root = new QVBoxLayout(this);
    Text1 = new DBGText(this);
    Text1->setReadOnly(true);
    Text1->setFont(QFont(QStringLiteral("Courier New"), 10));
    Text1->setMinimumSize(560, 320);
    root->addWidget(Text1, 1);
    auto* row = new QHBoxLayout;
    cmdDbgr = new QPushButton(QStringLiteral("ON"), this);
    txtSend = new QLineEdit(this);
    cmdsend = new QPushButton(QStringLiteral("SEND"), this);
    cmdExit = new QPushButton(QStringLiteral("EXIT"), this);
    row->addWidget(cmdDbgr);
    row->addWidget(txtSend, 1);
    row->addWidget(cmdsend);
    row->addWidget(cmdExit);
    root->addLayout(row);
    txtSend->hide();
    cmdsend->hide();
    for (QPushButton* b : {cmdDbgr, cmdsend, cmdExit})
        b->setAutoDefault(false);

    connect(cmdDbgr, &QPushButton::clicked, this, [this] { Handle([this] { cmdDbgr_Click(); }); });
    connect(cmdsend, &QPushButton::clicked, this, [this] { Handle([this] { cmdsend_Click(); }); });
    connect(cmdExit, &QPushButton::clicked, this, [this] { Handle([this] { cmdExit_Click(); }); });
    connect(txtSend, &QLineEdit::returnPressed, this,
            [this] { Handle([this] { cmdsend_Click(); }); });
    connect(Text1, &DBGText::DblClick, this, [] {
        G().dbgText.clear();
        G().ldrText.clear();
        dbg().SyncText();
        ldr().SyncText();
    });
    CenterForm(this);
}

void DBG::SyncText() {
    m_box.Sync(Text1, G().dbgText);
}

void DBG::MoveCursorToEnd() {
    Text1->moveCursor(QTextCursor::End);
}

static void clearBoxes() {
    G().dbgText.clear();
    G().ldrText.clear();
    dbg().SyncText();
    ldr().SyncText();
}

void DBG::cmdDbgr_Click() {
    SCL& s = scl();
    if (core::SameText(cmdDbgr->text(), QStringLiteral("ON"))) {
        SetCaption(cmdDbgr, QStringLiteral("OFF"));
        Link().ConsoleActive = true;
        clearBoxes();
        if (!s.chkSim->isChecked()) {
            if (!s.P1->PortOpen()) {
                LogLine(QStringLiteral("Debugger attempted to send 'debug', Port is closed"));
                ReopenPort();
            }
            s.P1->Output(kCrLf + kCrLf + QStringLiteral("debug") + kCrLf);
        }
        txtSend->show();
        cmdsend->show();
        txtSend->clear();
        txtSend->setFocus();
        return;
    }
    Link().ConsoleActive = false;
    SetCaption(cmdDbgr, QStringLiteral("ON"));
    clearBoxes();
    txtSend->clear();
    // Even in simulation the port is looked at, and reopened when closed.
    if (!s.P1->PortOpen()) {
        LogLine(QStringLiteral("Debugger attempted to send 'exit', Port is closed"));
        ReopenPort();
    }
    if (!s.chkSim->isChecked()) {
        for (int i = 0; i < 4; ++i) {
            s.P1->Output(QStringLiteral("exit") + kCrLf);
            Pause(250);
        }
    }
    txtSend->hide();
    cmdsend->hide();
}

void DBG::cmdsend_Click() {
    SCL& s = scl();
    if (s.chkSim->isChecked()) {
        txtSend->setFocus();
        return;
    }
    if (!s.P1->PortOpen()) {
        LogLine(QStringLiteral("Debugger attempted to send '") + txtSend->text() +
                QStringLiteral("', Port is closed"));
        ReopenPort();
    }
    s.P1->Output(txtSend->text() + kCrLf);
    txtSend->clear();
    txtSend->setFocus();
}

void DBG::cmdExit_Click() {
    if (core::SameText(cmdDbgr->text(), QStringLiteral("OFF")))
        cmdDbgr_Click();
    hide();
}

} // namespace telvo::ui
