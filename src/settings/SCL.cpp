#include "settings/SCL.h"

#include "app/Tools.h"

#include "app/Controls.h"

#include "core/text/Classic.h"
#include "app/Globals.h"
#include "app/Main.h"
#include "app/MajorSubs.h"
#include "link/DBG.h"
#include "link/Driver.h"
#include "link/zSCL.h"

#include <QApplication>
#include <QCloseEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QScreen>
#include <QVBoxLayout>

namespace telvo::ui {

namespace {
QLineEdit* field(QWidget* parent, int width = 70) {
    auto* e = new QLineEdit(parent);
    e->setFixedWidth(width);
    return e;
}
QPushButton* button(const QString& caption, QWidget* parent) {
    auto* b = new QPushButton(caption, parent);
    b->setAutoDefault(false);
    return b;
}
} // namespace

QStringList InputTabNames() {
    return {QStringLiteral("Video-1"), QStringLiteral("Video-2"), QStringLiteral("S-Vid-1"),
            QStringLiteral("S-Vid-2"), QStringLiteral("Comp-1"),  QStringLiteral("Comp-2"),
            QStringLiteral("RGBHV"),   QStringLiteral("HDMI-1"),  QStringLiteral("HDMI-2"),
            QStringLiteral("HDMI-3"),  QStringLiteral("HDMI-4"),  QStringLiteral("S D I")};
}

SCL::SCL() {
    setObjectName(QStringLiteral("SCL"));
    P1 = new platform::CommControl(this);
    T1 = new platform::Timer(this, 250);
    tmrdelay = new platform::Timer(this);
    tmrmessage = new platform::Timer(this, 250);
    tmrFindGorda = new platform::Timer(this, 30000);
    tmrload = new platform::Timer(this, 0);
    build();
    wire();
}

SCL::~SCL() = default;

void SCL::build() {
    auto* root = new QVBoxLayout(this);

    // Button row and connection fields.
    auto* top = new QHBoxLayout;
    Frame4 = new QGroupBox(this);
    auto* buttons = new QHBoxLayout(Frame4);
    cmdOpen = button(QStringLiteral("Open Port"), Frame4);
    cmdRefreshAll = button(QStringLiteral("Refresh"), Frame4);
    cmdSave = button(QStringLiteral("Save"), Frame4);
    cmdRestore = button(QStringLiteral("Restore"), Frame4);
    cmdStart = button(QStringLiteral("Load Firmware"), Frame4);
    cmdDecodeIR = button(QStringLiteral("IR"), Frame4);
    cmdSupport = button(QStringLiteral("Support"), Frame4);
    cmdDebugger = button(QStringLiteral("Debugger"), Frame4);
    cmdAdvanced = button(QStringLiteral("Advanced"), Frame4);
    cmdGamma = button(QStringLiteral("Gamma"), Frame4);
    cmdEnd = button(QStringLiteral("End"), Frame4);
    for (QPushButton* b : {cmdOpen, cmdRefreshAll, cmdSave, cmdRestore, cmdStart, cmdDecodeIR,
                           cmdSupport, cmdDebugger, cmdAdvanced, cmdGamma, cmdEnd})
        buttons->addWidget(b);
    top->addWidget(Frame4);
    top->addStretch();
    root->addLayout(top);

    Frame5 = new QGroupBox(this);
    auto* grid = new QGridLayout(Frame5);
    DeviceModel = new QLabel(QStringLiteral("Vorix"), Frame5);
    DeviceModel->setStyleSheet(QStringLiteral("font-weight: bold; font-size: 14pt"));
    lstPort = new QComboBox(Frame5);
    lstRate = new QComboBox(Frame5);
    txtPort = field(Frame5);
    txtCrntSpeed = field(Frame5);
    txtOrigSpeed = field(Frame5);
    txtxfrspeed = field(Frame5);
    txtFirmware = field(Frame5);
    txtState = field(Frame5, 130);
    txtState->setReadOnly(true);
    lblState = new QLabel(QStringLiteral("Device State"), Frame5);
    txtTO = field(Frame5, 50);
    txtretry = field(Frame5, 30);
    chkSim = new QCheckBox(QStringLiteral("Simulation"), Frame5);
    chkConfirm = new QCheckBox(QStringLiteral("Confirm Operations"), Frame5);
    chkNoFWupdate = new QCheckBox(QStringLiteral("No Firmware Update (Testing)"), Frame5);
    chkSaveRestore = new QCheckBox(QStringLiteral("Save/Restore Settings"), Frame5);
    chkDefaults = new QCheckBox(QStringLiteral("Restore Defaults"), Frame5);
    int c = 0;
    auto add = [&](const QString& caption, QWidget* w) {
        grid->addWidget(new QLabel(caption, Frame5), 0, c);
        grid->addWidget(w, 1, c++);
    };
    grid->addWidget(DeviceModel, 0, c, 2, 1);
    ++c;
    add(QStringLiteral("Port"), lstPort);
    add(QStringLiteral("Baud"), lstRate);
    add(QStringLiteral("Com Port"), txtPort);
    add(QStringLiteral("Current Speed"), txtCrntSpeed);
    add(QStringLiteral("Original Speed"), txtOrigSpeed);
    add(QStringLiteral("Transfer Speed"), txtxfrspeed);
    add(QStringLiteral("Firmware"), txtFirmware);
    grid->addWidget(lblState, 0, c);
    grid->addWidget(txtState, 1, c++);
    add(QStringLiteral("Time Out"), txtTO);
    add(QStringLiteral("Retry"), txtretry);
    grid->addWidget(chkSim, 2, 1, 1, 2);
    grid->addWidget(chkConfirm, 2, 3, 1, 2);
    grid->addWidget(chkNoFWupdate, 2, 5, 1, 3);
    grid->addWidget(chkSaveRestore, 2, 8, 1, 2);
    grid->addWidget(chkDefaults, 2, 10, 1, 2);
    root->addWidget(Frame5);

    // Settings: the input tabs and the three frames of labels.
    SSTab1 = new QTabBar(this);
    for (const QString& t : InputTabNames()) SSTab1->addTab(t);
    root->addWidget(SSTab1);
    FrameTop = new QGroupBox(QStringLiteral("Input and Picture Settings"), this);
    FrameMid = new QGroupBox(QStringLiteral("Output Settings"), this);
    FrameBtm = new QGroupBox(QStringLiteral("Configuration Settings"), this);
    lstPreset = new QComboBox(FrameTop);
    cmdSaveAs = button(QStringLiteral("Save As"), FrameTop);
    lstProfile = new QComboBox(FrameMid);
    cmdSaveAs2 = button(QStringLiteral("Save As"), FrameMid);
    for (QGroupBox* f : {FrameTop, FrameMid, FrameBtm}) {
        f->setMinimumHeight(90);
        root->addWidget(f);
    }
    auto* topRow = new QHBoxLayout(FrameTop);
    topRow->addWidget(new QLabel(QStringLiteral("Presets"), FrameTop));
    topRow->addWidget(lstPreset);
    topRow->addWidget(cmdSaveAs);
    topRow->addStretch();
    auto* midRow = new QHBoxLayout(FrameMid);
    midRow->addWidget(new QLabel(QStringLiteral("Display Profile"), FrameMid));
    midRow->addWidget(lstProfile);
    midRow->addWidget(cmdSaveAs2);
    midRow->addStretch();

    // Details and the status line.
    Label9 = new QLabel(QStringLiteral("Details"), this);
    root->addWidget(Label9);
    D1 = new LogView(this);
    D1->setMinimumHeight(220);
    root->addWidget(D1, 1);
    auto* status = new QHBoxLayout;
    lblMessage = new ClickLabel(this);
    lblMessage->setMinimumHeight(36);
    lblMessage->setWordWrap(true);
    cmdContinue = button(QStringLiteral("Continue"), this);
    cmdCancel = button(QStringLiteral("Cancel"), this);
    cmdContinue->hide();
    cmdCancel->hide();
    lblWait = new QLabel(QStringLiteral("WAIT - Processing"), this);
    lblWait->setStyleSheet(QStringLiteral("color: rgb(255,0,0); font-weight: bold"));
    lblWait->hide();
    status->addWidget(lblMessage, 1);
    status->addWidget(lblWait);
    status->addWidget(cmdContinue);
    status->addWidget(cmdCancel);
    root->addLayout(status);
}

void SCL::wire() {
    connect(cmdEnd, &QPushButton::pressed, this,
            [] { Handle([] { cmdEnd_MouseDown(QApplication::keyboardModifiers()); }); });
    connect(cmdContinue, &QPushButton::clicked, this, [this] {
        cmdContinue->hide();
        cmdCancel->hide();
    });
    connect(cmdCancel, &QPushButton::clicked, this, [this] { cmdContinue->hide(); });
    connect(D1, &LogView::DblClick, this, [this] { D1->clear(); });
    connect(lblMessage, &ClickLabel::DblClick, this, [] { Handle(lblMessage_DblClick); });
    connect(chkSim, &QCheckBox::clicked, this, [] { Handle(chkSim_Click); });
    connect(tmrmessage, &platform::Timer::Tick, this, [] { Handle(tmrmessage_Timer); });
    connect(T1, &platform::Timer::Tick, this, [] { Handle(T1_Timer); });
    connect(tmrdelay, &platform::Timer::Tick, this, [] { Handle(tmrdelay_Timer); });
    connect(tmrFindGorda, &platform::Timer::Tick, this, [this] { tmrFindGorda->setEnabled(false); });
    connect(P1, &platform::CommControl::OnComm, this, [] { Handle(P1_OnComm); });
    connect(cmdOpen, &QPushButton::clicked, this, [] { Handle(cmdOpen_Click); });
    connect(cmdDebugger, &QPushButton::clicked, this, [] { Handle([] { dbg().show(); }); });
    connect(cmdDecodeIR, &QPushButton::clicked, this, [] { Handle(ShowIRG); });
    connect(cmdGamma, &QPushButton::clicked, this, [] { Handle(ShowGMA); });
    connect(cmdSupport, &QPushButton::clicked, this, [] { Handle(ShowSUP); });
    connect(cmdAdvanced, &QPushButton::clicked, this, [] { Handle(ShowADV); });
    connect(cmdStart, &QPushButton::clicked, this, [] { Handle(cmdStartSCL_Click); });
}

void SCL::SetTitle() {
    setWindowTitle(DeviceModel->text() + QStringLiteral(" Utility Program   v") +
                   QString::number(TELVO_VERSION_MAJOR) + QStringLiteral(".") +
                   QString::number(TELVO_VERSION_MINOR) + QStringLiteral(".") +
                   QString::number(TELVO_VERSION_REVISION));
}

void SCL::CenterOnScreen() {
    CenterForm(this);
}

void SCL::closeEvent(QCloseEvent* e) {
    e->ignore();
    Handle(SCL_QueryUnload);
}

namespace {
struct Group {
    const char* word;
    QPushButton* SCL::*button;
    bool disable;
};
const Group kGroups[] = {
    {"OPEN", &SCL::cmdOpen, false},         {"LOAD", &SCL::cmdStart, true},
    {"END", &SCL::cmdEnd, true},            {"SUPPORT", &SCL::cmdSupport, false},
    {"IR", &SCL::cmdDecodeIR, false},       {"DEBUG", &SCL::cmdDebugger, false},
    {"ADV", &SCL::cmdAdvanced, false},      {"SAVE", &SCL::cmdSave, true},
    {"RESTORE", &SCL::cmdRestore, true},    {"REFRESH", &SCL::cmdRefreshAll, true},
    {"SAVEAS", &SCL::cmdSaveAs, true},      {"SAVEAS2", &SCL::cmdSaveAs2, true},
};
bool hits(const QString& words, const char* word) {
    return core::ContainsText(words, QStringLiteral("ALL")) ||
           core::ContainsText(words, QString::fromLatin1(word));
}
} // namespace

void EnableControls(const QString& words) {
    SCL& w = scl();
    for (const Group& g : kGroups) {
        if (hits(words, g.word)) (w.*g.button)->setEnabled(true);
        // The beginner layout stops after the advanced button.
        if (Config().UserLevel == 1 && QLatin1String(g.word) == QLatin1String("ADV")) break;
    }
}

void DisableControls(const QString& words) {
    SCL& w = scl();
    for (const Group& g : kGroups)
        if (g.disable && hits(words, g.word)) (w.*g.button)->setEnabled(false);
}

} // namespace telvo::ui
