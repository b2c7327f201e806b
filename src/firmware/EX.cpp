#include "firmware/EX.h"

#include "app/Controls.h"
#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "app/Tools.h"
#include "firmware/Firmware.h"
#include "link/Driver.h"
#include "link/zSCL.h"
#include "platform/clock/DoEvents.h"
#include "platform/dialogs/Platform.h"
#include "settings/SCL.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace telvo::ui {

EX::EX() {
    setObjectName(QStringLiteral("EX"));
    setWindowTitle(QStringLiteral("Final Speed Selection"));
    auto* root = new QVBoxLayout(this);
    Label1 = new QLabel(QStringLiteral("Select the final serial port speed for the unit"), this);
    Label1->setObjectName(QStringLiteral("Label1"));
    Label1->setAccessibleName(Label1->text());
    root->addWidget(Label1);
    auto* boxes = new QHBoxLayout;
    int i = 0;
    for (const char* rate : {"57600", "38400", "19200", "14400", "9600", "4800"}) {
        auto* box = new QCheckBox(QString::fromLatin1(rate), this);
        box->setObjectName(QStringLiteral("Check1_%1").arg(i++));
        box->setAccessibleName(box->text());
        Check1 << box;
        boxes->addWidget(box);
    }
    root->addLayout(boxes);
    auto* row = new QHBoxLayout;
    const auto button = [this, row](const char* name, const QString& caption) {
        auto* b = NamedButton(caption, this, name);
        row->addWidget(b);
        return b;
    };
    cmdSetandExit = button("cmdSetandExit", QStringLiteral("Set and Exit"));
    cmdExit = button("cmdExit", QStringLiteral("Exit"));
    cmdCancel = button("cmdCancel", QStringLiteral("Cancel"));
    root->addLayout(row);
    connect(cmdSetandExit, &QPushButton::clicked, this, [] { Handle(EX_cmdSetandExit_Click); });
    connect(cmdExit, &QPushButton::clicked, this, [] { Handle(EX_cmdExit_Click); });
    connect(cmdCancel, &QPushButton::clicked, this, [this] { hide(); });
}

void EX::showEvent(QShowEvent* e) {
    if (!m_centred) {
        m_centred = true;
        adjustSize();
        CenterForm(this);
    }
    // The box of the current speed is ticked; the others keep what they had.
    const QString current = scl().txtCrntSpeed->text();
    for (QCheckBox* box : Check1)
        if (box->text() == current) {
            box->setChecked(true);
            break;
        }
    QWidget::showEvent(e);
}

void EX_cmdSetandExit_Click() {
    SCL& s = scl();
    // The boxes aren't exclusive: the first ticked one wins.
    for (QCheckBox* box : ex().Check1) {
        if (!box->isChecked())
            continue;
        if (box->text() != s.txtCrntSpeed->text()) {
            SetGordaBaudRate(box->text());
            DevicePause(5000);
        }
        break;
    }
    platform::EndProgram();
}

void EX_cmdExit_Click() {
    platform::EndProgram();
}

bool ShowExitSpeedWindow() {
    EX& w = ex();
    w.show();
    w.raise();
    WaitOnWindow(w);
    return false;
}

} // namespace telvo::ui
