#include "options/ADV.h"

#include "app/Controls.h"
#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "app/Tools.h"
#include "core/text/Classic.h"
#include "platform/dialogs/Platform.h"
#include "platform/os/Priority.h"
#include "platform/serial/CommControl.h"
#include "settings/SCL.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace telvo::ui {

namespace {

// Unchecks every button of an exclusive group: a class or rate without a button shows none.
void clearGroup(QButtonGroup* group) {
    group->setExclusive(false);
    for (QAbstractButton* b : group->buttons())
        b->setChecked(false);
    group->setExclusive(true);
}

const char* const kSpeeds[6] = {"4800", "9600", "14400", "19200", "38400", "57600"};

} // namespace

ADV::ADV() {
    setObjectName(QStringLiteral("ADV"));
    setWindowTitle(QStringLiteral("Advanced Options"));
    auto* root = new QVBoxLayout(this);
    frmADV = new QGroupBox(QStringLiteral("Advanced Options"), this);
    frmADV->setObjectName(QStringLiteral("frmADV"));
    root->addWidget(frmADV);
    auto* grid = new QGridLayout(frmADV);

    Frame5 = new QGroupBox(QStringLiteral("Set Process Priority Class"), frmADV);
    Frame5->setObjectName(QStringLiteral("Frame5"));
    auto* classes = new QVBoxLayout(Frame5);
    m_classes = new QButtonGroup(this);
    const std::pair<int, const char*> kClasses[] = {
        {platform::NORMAL_PRIORITY_CLASS, "Normal"},
        {platform::IDLE_PRIORITY_CLASS, "Low (Idle)"},
        {platform::HIGH_PRIORITY_CLASS, "High"},
        {platform::REALTIME_PRIORITY_CLASS, "Realtime (Dangerous)"}};
    for (const auto& [index, caption] : kClasses) {
        auto* o = new QRadioButton(QLatin1String(caption), Frame5);
        o->setObjectName(QStringLiteral("optProcessPriority_%1").arg(index));
        o->setAccessibleName(o->text());
        optProcessPriority.insert(index, o);
        m_classes->addButton(o, index);
        classes->addWidget(o);
        OnClick(o, [this, i = index] { optProcessPriority_Click(i); });
    }

    Label17 = new QLabel(QStringLiteral("Thread Priority"), frmADV);
    Label17->setObjectName(QStringLiteral("Label17"));
    txtThreadPriority = new QLineEdit(frmADV);
    txtThreadPriority->setObjectName(QStringLiteral("txtThreadPriority"));
    txtThreadPriority->setFixedWidth(50);
    Label17->setBuddy(txtThreadPriority);
    txtThreadPriority->setAccessibleName(QStringLiteral("Thread Priority"));
    // Arrows: the design's Wingdings 3 glyphs, as the characters every font has.
    cmdPriUP = NamedButton(QStringLiteral("\u25B2"), frmADV, "cmdPriUP");
    cmdPriUP->setAccessibleName(QStringLiteral("Thread priority up"));
    cmdPriDN = NamedButton(QStringLiteral("\u25BC"), frmADV, "cmdPriDN");
    cmdPriDN->setAccessibleName(QStringLiteral("Thread priority down"));
    auto* thread = new QHBoxLayout;
    thread->addWidget(Label17);
    thread->addWidget(txtThreadPriority);
    thread->addWidget(cmdPriUP);
    thread->addWidget(cmdPriDN);
    thread->addStretch();

    Frame2 = new QGroupBox(QStringLiteral("Set Application Com Speed"), frmADV);
    Frame2->setObjectName(QStringLiteral("Frame2"));
    auto* speeds = new QGridLayout(Frame2);
    m_speeds = new QButtonGroup(this);
    for (int i = 0; i < 6; ++i) {
        optSpeed[i] = new QRadioButton(QLatin1String(kSpeeds[i]), Frame2);
        optSpeed[i]->setObjectName(QStringLiteral("optSpeed_%1").arg(i));
        optSpeed[i]->setAccessibleName(optSpeed[i]->text());
        m_speeds->addButton(optSpeed[i], i);
        speeds->addWidget(optSpeed[i], i / 2, i % 2);
        // Choosing the rate already chosen reopens the port all the same (OnClick runs then too).
        OnClick(optSpeed[i], [this, i] { optSpeed_Click(i); });
    }

    chkNoFWupdate = new QCheckBox(QStringLiteral("No Firmware Update (Testing)"), frmADV);
    chkNoFWupdate->setObjectName(QStringLiteral("chkNoFWupdate"));
    chkNoFWupdate->setAccessibleName(chkNoFWupdate->text());
    cmdDelFileList = NamedButton(QStringLiteral("Delete File List"), frmADV, "cmdDelFileList");
    cmdSaveFileList = NamedButton(QStringLiteral("Save File List"), frmADV, "cmdSaveFileList");
    cmdAdvDone = NamedButton(QStringLiteral("Done"), this, "cmdAdvDone");

    grid->addWidget(Frame5, 0, 0, 2, 1);
    grid->addLayout(thread, 2, 0);
    grid->addWidget(Frame2, 0, 1);
    grid->addWidget(chkNoFWupdate, 1, 1);
    auto* lists = new QHBoxLayout;
    lists->addWidget(cmdDelFileList);
    lists->addWidget(cmdSaveFileList);
    grid->addLayout(lists, 2, 1);
    auto* bottom = new QHBoxLayout;
    bottom->addStretch();
    bottom->addWidget(cmdAdvDone);
    root->addLayout(bottom);

    connect(cmdPriUP, &QPushButton::clicked, this,
            [this] { Handle([this] { cmdPriUP_Click(); }); });
    connect(cmdPriDN, &QPushButton::clicked, this,
            [this] { Handle([this] { cmdPriDN_Click(); }); });
    connect(cmdAdvDone, &QPushButton::clicked, this,
            [this] { Handle([this] { cmdAdvDone_Click(); }); });
    // The list buttons belong to the firmware loader.
    connect(cmdDelFileList, &QPushButton::clicked, this, [] { Handle(cmdDelFileList_Click); });
    connect(cmdSaveFileList, &QPushButton::clicked, this, [] { Handle(cmdSaveFileList_Click); });
}

void ADV::Form_Load() {
    CenterForm(this);
}

void ADV::Form_Activate() {
    platform::Priority& pri = platform::CurrentPriority();
    // Selecting an option button runs its Click; what the window shows on activation is not the
    // user's choice, so Loading covers the class as well as the rate.
    Loading = true;
    clearGroup(m_classes);
    if (QRadioButton* o = optProcessPriority.value(pri.GetPriorityClass()))
        o->setChecked(true);
    txtThreadPriority->setText(QString::number(pri.GetThreadPriority()));
    clearGroup(m_speeds);
    const QString current = scl().txtCrntSpeed->text();
    for (QRadioButton* o : optSpeed)
        if (o->text() == current) {
            o->setChecked(true);
            break;
        }
    Loading = false;
}

void ADV::optProcessPriority_Click(int index) {
    if (Loading)
        return;
    platform::Priority& pri = platform::CurrentPriority();
    const int present = pri.GetPriorityClass();
    // Where the system lets a user lower the priority but not raise it again, Low (Idle) is
    // for the rest of the run: the user hears so before it is applied, and may keep the class.
    if (index == platform::IDLE_PRIORITY_CLASS && present != index && !pri.CanRaiseAgain() &&
        platform::MessageBox(
            QStringLiteral("Low (Idle) can not be undone: once it is set, this user may not raise "
                           "the program's priority again until the program is restarted.") +
                QStringLiteral("\r\nSet Low (Idle)?"),
            platform::vbYesNo, QStringLiteral("Advanced Options")) == platform::vbNo) {
        Loading = true;
        clearGroup(m_classes);
        if (QRadioButton* o = optProcessPriority.value(present))
            o->setChecked(true);
        Loading = false;
        return;
    }
    QString error;
    if (!pri.SetPriorityClass(index, error))
        platform::MessageBox(error, 48, QStringLiteral("Advanced Options"));
}

void ADV::stepThreadPriority(int step) {
    const double value = core::Val(txtThreadPriority->text()) + step;
    // Each arrow checks its own bound only: up "below 16", down "-15 or more".
    if ((step > 0 && value >= 16) || (step < 0 && value < -15)) {
        BeepTimes(1);
        return;
    }
    txtThreadPriority->setText(core::CStr(value));
    QString error;
    // A refused value stands in the box all the same; the message says it was refused.
    if (!platform::CurrentPriority().SetThreadPriority(
            core::CInt(core::Val(txtThreadPriority->text())), error))
        platform::MessageBox(error, 48, QStringLiteral("Advanced Options"));
}

void ADV::cmdPriUP_Click() {
    stepThreadPriority(+1);
}
void ADV::cmdPriDN_Click() {
    stepThreadPriority(-1);
}

void ADV::optSpeed_Click(int index) {
    if (Loading)
        return;
    SCL& s = scl();
    if (!s.P1->PortOpen()) {
        ShowAlert(
            QStringLiteral("The com port has not been initialized yet, Can not change speed"));
        return;
    }
    const QString caption = optSpeed[index]->text();
    s.P1->setPortOpen(false);
    s.P1->setSettings(caption + QStringLiteral(",n,8,1"));
    s.P1->setPortOpen(true);
    for (int i = 0; i < s.lstRate->count(); ++i)
        if (s.lstRate->itemText(i) == caption) {
            s.lstRate->setCurrentIndex(i);
            break;
        }
}

void ADV::cmdAdvDone_Click() {
    hide();
}

} // namespace telvo::ui
