#include "settings/SCL.h"

#include "app/Tools.h"
#include "platform/dialogs/Platform.h"
#include "settings/Layout.h"
#include "settings/Panels.h"
#include "settings/SaveRestore.h"
#include "settings/ValueEntry.h"

#include "app/Controls.h"

#include "app/Globals.h"
#include "app/Main.h"
#include "app/MajorSubs.h"
#include "core/text/Classic.h"
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
QLineEdit* field(QWidget* parent, const char* name, int width = 70) {
    auto* e = new QLineEdit(parent);
    e->setObjectName(QLatin1String(name));
    e->setFixedWidth(width);
    return e;
}
QCheckBox* check(const QString& caption, QWidget* parent, const char* name) {
    auto* c = new QCheckBox(caption, parent);
    c->setObjectName(QLatin1String(name));
    return c;
}
QGroupBox* frame(const QString& caption, QWidget* parent, const char* name) {
    auto* f = new QGroupBox(caption, parent);
    f->setObjectName(QLatin1String(name));
    return f;
}
// A caption beside a field: the field is its buddy, so a screen reader speaks the caption.
QLabel* caption(const QString& text, QWidget* buddy, const char* name) {
    auto* l = new QLabel(text, buddy->parentWidget());
    l->setObjectName(QLatin1String(name));
    l->setBuddy(buddy);
    buddy->setAccessibleName(text);
    return l;
}
QFrame* vline(QWidget* parent, const char* name) {
    auto* f = new QFrame(parent);
    f->setObjectName(QLatin1String(name));
    f->setFrameShape(QFrame::VLine);
    f->setFrameShadow(QFrame::Sunken);
    return f;
}
} // namespace

SettingLabel::SettingLabel(QWidget* parent) : ClickLabel(parent) {
    setTextInteractionFlags(Qt::NoTextInteraction); // resets the focus policy: set it after
    setFocusPolicy(Qt::StrongFocus);
}

void SettingLabel::mousePressEvent(QMouseEvent* e) {
    Q_EMIT MouseDownAt(e->position().toPoint());
    ClickLabel::mousePressEvent(e);
    // Taken here: passed on, the frame behind would read it as a click that abandons the choice.
    e->accept();
}

void SettingLabel::keyPressEvent(QKeyEvent* e) {
    if (e->key() == Qt::Key_Return || e->key() == Qt::Key_Enter || e->key() == Qt::Key_Space) {
        Q_EMIT MouseDownAt(rect().center());
        return;
    }
    ClickLabel::keyPressEvent(e);
}

QStringList InputTabNames() {
    return {QStringLiteral("Video-1"), QStringLiteral("Video-2"), QStringLiteral("S-Vid-1"),
            QStringLiteral("S-Vid-2"), QStringLiteral("Comp-1"),  QStringLiteral("Comp-2"),
            QStringLiteral("RGBHV"),   QStringLiteral("HDMI-1"),  QStringLiteral("HDMI-2"),
            QStringLiteral("HDMI-3"),  QStringLiteral("HDMI-4"),  QStringLiteral("S D I")};
}

SCL::SCL() {
    setObjectName(QStringLiteral("SCL"));
    setWindowTitle(QStringLiteral("Telvo Utility Program"));
    P1 = new platform::CommControl(this);
    connect(P1, &platform::CommControl::Note, this, [](const QString& text) {
        WriteLogFile(text);
        platform::PortNoted(text);
    });
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
    root = new QGridLayout(this);

    // Communications.
    Frame2 = frame(QStringLiteral("Communications"), this, "Frame2");
    lstPort = new QComboBox(Frame2);
    lstPort->setObjectName(QStringLiteral("lstPort"));
    lstRate = new QComboBox(Frame2);
    lstRate->setObjectName(QStringLiteral("lstRate"));
    txtPort = field(Frame2, "txtPort");
    txtOrigSpeed = field(Frame2, "txtOrigSpeed");
    txtCrntSpeed = field(Frame2, "txtCrntSpeed");
    txtxfrspeed = field(Frame2, "txtxfrspeed");
    cmdOpen = NamedButton(QStringLiteral("Connect"), Frame2, "cmdOpen", Spoken::Text);
    {
        auto* g = new QGridLayout(Frame2);
        Label2 = caption(QStringLiteral("Com Port"), lstPort, "Label2");
        Label4 = caption(QStringLiteral("Baud Rate"), lstRate, "Label4");
        Label1 = caption(QStringLiteral("Vorix Port"), txtPort, "Label1");
        Label7 = caption(QStringLiteral("Original Vorix Speed"), txtOrigSpeed, "Label7");
        Label11 = caption(QStringLiteral("Current Vorix Speed"), txtCrntSpeed, "Label11");
        Label6 = caption(QStringLiteral("Vorix XFR Speed"), txtxfrspeed, "Label6");
        int r = 0;
        for (auto [l, w] : {std::pair<QLabel*, QWidget*>{Label2, lstPort},
                            {Label4, lstRate},
                            {Label1, txtPort},
                            {Label7, txtOrigSpeed},
                            {Label11, txtCrntSpeed},
                            {Label6, txtxfrspeed}}) {
            g->addWidget(l, r, 0);
            g->addWidget(w, r++, 1);
        }
        g->addWidget(cmdOpen, r, 0, 1, 2);
    }

    // Device settings.
    Frame3 = frame(QStringLiteral("Device Settings"), this, "Frame3");
    cmdSave = NamedButton(QStringLiteral("Save"), Frame3, "cmdSave", Spoken::Text);
    cmdRestore = NamedButton(QStringLiteral("Restore"), Frame3, "cmdRestore", Spoken::Text);
    DeviceModel = new QLabel(QStringLiteral("Vorix"), Frame3);
    DeviceModel->setObjectName(QStringLiteral("DeviceModel"));
    DeviceModel->setStyleSheet(QStringLiteral("font-weight: bold; font-size: 14pt"));
    txtFirmware = field(Frame3, "txtFirmware", 110);
    {
        auto* g = new QGridLayout(Frame3);
        Label8 = caption(QStringLiteral("Device Model"), DeviceModel, "Label8");
        lblFirmware = caption(QStringLiteral("Firmware Loaded"), txtFirmware, "lblFirmware");
        g->addWidget(Label8, 0, 0);
        g->addWidget(DeviceModel, 1, 0);
        g->addWidget(lblFirmware, 2, 0);
        g->addWidget(txtFirmware, 3, 0);
        g->addWidget(cmdSave, 4, 0);
        g->addWidget(cmdRestore, 5, 0);
        g->setRowStretch(6, 1);
    }

    // Support tools; the debugger's three sit after Support, Adv last.
    Frame4 = frame(QStringLiteral("Vorix Support Tools"), this, "Frame4");
    cmdStart = NamedButton(QStringLiteral(" Loader"), Frame4, "cmdStart", Spoken::Text);
    cmdDecodeIR = NamedButton(QStringLiteral("IR Tool"), Frame4, "cmdDecodeIR", Spoken::Text);
    cmdSupport = NamedButton(QStringLiteral("Support"), Frame4, "cmdSupport", Spoken::Text);
    cmdDebugger = NamedButton(QStringLiteral(" Debug"), Frame4, "cmdDebugger", Spoken::Text);
    cmdGamma = NamedButton(QStringLiteral("Gamma"), Frame4, "cmdGamma", Spoken::Text);
    cmdAdvanced = NamedButton(QStringLiteral("Adv"), Frame4, "cmdAdvanced", Spoken::Text);
    {
        // Two rows of three: the debugger's row folds away when its buttons are hidden.
        auto* g = new QGridLayout(Frame4);
        int i = 0;
        for (QPushButton* b :
             {cmdStart, cmdDecodeIR, cmdSupport, cmdDebugger, cmdGamma, cmdAdvanced}) {
            g->addWidget(b, i / 3, i % 3);
            ++i;
        }
    }

    // Termination.
    Frame5 = frame(QStringLiteral("Termination"), this, "Frame5");
    chkSaveRestore = check(QStringLiteral("Save Settings"), Frame5, "chkSaveRestore");
    chkDefaults = check(QStringLiteral("Restore Defaults"), Frame5, "chkDefaults");
    cmdEnd = NamedButton(QStringLiteral("Exit"), Frame5, "cmdEnd", Spoken::Text);
    {
        auto* row = new QHBoxLayout(Frame5);
        auto* checks = new QVBoxLayout;
        checks->addWidget(chkSaveRestore);
        checks->addWidget(chkDefaults);
        row->addLayout(checks);
        row->addWidget(cmdEnd);
    }

    // Operation and options.
    Frame6 = frame(QStringLiteral("Operation and Options"), this, "Frame6");
    cmdRefreshAll =
        NamedButton(QStringLiteral("Get Current State"), Frame6, "cmdRefreshAll", Spoken::Text);
    chkConfirm = check(QStringLiteral("Confirm "), Frame6, "chkConfirm");
    chkSim = check(QStringLiteral("Simulate"), Frame6, "chkSim");
    chkNoFWupdate = check(QStringLiteral("No Firmware Update"), Frame6, "chkNoFWupdate");
    txtState = field(Frame6, "txtState", 130);
    txtState->setReadOnly(true);
    lblWait = new QLabel(QStringLiteral("WAIT - Processing"), Frame6);
    lblWait->setObjectName(QStringLiteral("lblWait"));
    lblWait->setStyleSheet(QStringLiteral("color: rgb(255,0,0); font-weight: bold"));
    lblWait->hide();
    {
        auto* g = new QGridLayout(Frame6);
        lblState = caption(QStringLiteral("Device State"), txtState, "lblState");
        g->addWidget(lblState, 0, 0);
        g->addWidget(txtState, 0, 1);
        g->addWidget(chkConfirm, 1, 0, 1, 2);
        g->addWidget(chkSim, 2, 0, 1, 2);
        g->addWidget(chkNoFWupdate, 3, 0, 1, 2);
        g->addWidget(cmdRefreshAll, 4, 0, 1, 2);
        g->addWidget(lblWait, 5, 0, 1, 2);
    }
    // Work fields the routines read, never shown.
    txtTO = field(this, "txtTO", 50);
    txtretry = field(this, "txtretry", 30);
    txtTO->setAccessibleName(QStringLiteral("Time Out"));
    txtretry->setAccessibleName(QStringLiteral("Retries"));
    txtTO->hide();
    txtretry->hide();

    // Settings: the input tabs over the three frames of labels.
    panelArea = new QWidget(this);
    panelArea->setObjectName(QStringLiteral("panelArea"));
    auto* panels = new QVBoxLayout(panelArea);
    panels->setContentsMargins(0, 0, 0, 0);
    SSTab1 = new QTabBar(panelArea);
    SSTab1->setObjectName(QStringLiteral("SSTab1"));
    SSTab1->setAccessibleName(QStringLiteral("Input"));
    SSTab1->setExpanding(false);
    for (const QString& t : InputTabNames())
        SSTab1->addTab(t);
    FrameTop = frame(QStringLiteral("Input and Picture Settings"), panelArea, "FrameTop");
    FrameMid = frame(QStringLiteral("Output Settings"), panelArea, "FrameMid");
    FrameBtm = frame(QStringLiteral("Configuration Settings"), panelArea, "FrameBtm");
    lstPreset = new QListWidget(FrameTop);
    lstPreset->setMaximumHeight(110);
    lstPreset->setObjectName(QStringLiteral("lstPreset"));
    cmdSaveAs = NamedButton(QStringLiteral("Save As"), FrameTop, "cmdSaveAs", Spoken::Text);
    lstProfile = new QListWidget(FrameMid);
    lstProfile->setMaximumHeight(110);
    lstProfile->setObjectName(QStringLiteral("lstProfile"));
    cmdSaveAs2 = NamedButton(QStringLiteral("Save As"), FrameMid, "cmdSaveAs2", Spoken::Text);
    optDigital = new QRadioButton(QStringLiteral("Digital (HDMI)"), FrameMid);
    optDigital->setObjectName(QStringLiteral("optDigital"));
    optAnalog = new QRadioButton(QStringLiteral("Analog (BNC)"), FrameMid);
    optAnalog->setObjectName(QStringLiteral("optAnalog"));
    Line1 = vline(FrameTop, "Line1");
    Line2 = vline(FrameMid, "Line2");
    {
        auto* row = new QHBoxLayout(FrameTop);
        auto* side = new QVBoxLayout;
        side->addWidget(caption(QStringLiteral("Presets"), lstPreset, "lblPreset"));
        side->addWidget(lstPreset);
        side->addWidget(cmdSaveAs);
        side->addStretch();
        row->addLayout(side);
        row->addWidget(Line1);
        gridTop = new QGridLayout;
        row->addLayout(gridTop, 1);
    }
    {
        auto* row = new QHBoxLayout(FrameMid);
        auto* side = new QVBoxLayout;
        side->addWidget(caption(QStringLiteral("Display Profile"), lstProfile, "lblProfile"));
        side->addWidget(lstProfile);
        side->addWidget(cmdSaveAs2);
        side->addWidget(optDigital);
        side->addWidget(optAnalog);
        side->addStretch();
        row->addLayout(side);
        row->addWidget(Line2);
        gridMid = new QGridLayout;
        row->addLayout(gridMid, 1);
    }
    gridBtm = new QGridLayout(FrameBtm);
    for (QGridLayout* g : {gridTop, gridMid, gridBtm})
        g->setAlignment(Qt::AlignTop);
    // The design's hidden first member of each label array.
    for (auto [list, parent, name] : {std::tuple<QList<SettingLabel*>*, QWidget*, const char*>{
                                          &lblSettingTop, FrameTop, "lblSettingTop"},
                                      {&lblSettingMid, FrameMid, "lblSettingMid"},
                                      {&lblSettingBtm, FrameBtm, "lblSettingBtm"}}) {
        auto* first = new SettingLabel(parent);
        first->setObjectName(QLatin1String(name) + QStringLiteral("_0"));
        first->setAccessibleName(parent->accessibleName().isEmpty()
                                     ? static_cast<QGroupBox*>(parent)->title()
                                     : parent->accessibleName());
        first->hide();
        list->append(first);
    }
    panels->addWidget(SSTab1);
    panels->addWidget(FrameTop);
    panels->addWidget(FrameMid);
    panels->addStretch();
    panels->addWidget(FrameBtm);

    // The choosers float above the frames, hidden until a label is clicked.
    frmEnter = frame(QStringLiteral("Enter Value"), this, "frmEnter");
    lblEnter = new QLabel(frmEnter);
    lblEnter->setObjectName(QStringLiteral("lblEnter"));
    lblEnter->setWordWrap(true);
    txtValEnter = new QLineEdit(frmEnter);
    txtValEnter->setObjectName(QStringLiteral("txtValEnter"));
    lblEnter->setBuddy(txtValEnter);
    txtValEnter->setAccessibleName(QStringLiteral("Enter Value"));
    {
        auto* v = new QVBoxLayout(frmEnter);
        v->addWidget(lblEnter);
        v->addWidget(txtValEnter);
    }
    frmEnter->setFixedWidth(260);
    frmEnter->setAutoFillBackground(true);
    frmEnter->hide();
    frmSelect = frame(QStringLiteral("Select Value"), this, "frmSelect");
    lstSelect = new QListWidget(frmSelect);
    lstSelect->setObjectName(QStringLiteral("lstSelect"));
    lstSelect->setAccessibleName(QStringLiteral("Select Value"));
    {
        // No margins of its own: the frame is the list and 300 twips (ValueEntry's sizeList).
        auto* v = new QVBoxLayout(frmSelect);
        v->setContentsMargins(2, 0, 2, 0);
        v->addWidget(lstSelect);
    }
    frmSelect->setFixedWidth(200);
    frmSelect->setAutoFillBackground(true);
    frmSelect->hide();

    // Details and the status line.
    detailsArea = new QWidget(this);
    detailsArea->setObjectName(QStringLiteral("detailsArea"));
    auto* details = new QVBoxLayout(detailsArea);
    details->setContentsMargins(0, 0, 0, 0);
    Label9 = new QLabel(QStringLiteral("Details"), detailsArea);
    Label9->setObjectName(QStringLiteral("Label9"));
    D1 = new LogView(detailsArea);
    D1->setObjectName(QStringLiteral("D1"));
    D1->setAccessibleName(QStringLiteral("Details"));
    Label9->setBuddy(D1);
    D1->setMinimumHeight(160);
    details->addWidget(Label9);
    details->addWidget(D1, 1);
    auto* status = new QWidget(this);
    status->setObjectName(QStringLiteral("statusArea"));
    statusArea = status;
    auto* statusRow = new QHBoxLayout(status);
    statusRow->setContentsMargins(0, 0, 0, 0);
    lblMessage = new StatusLine(status);
    lblMessage->setObjectName(QStringLiteral("lblMessage"));
    lblMessage->setAccessibleName(QStringLiteral("Status"));
    lblMessage->setMinimumHeight(36);
    lblMessage->setWordWrap(true);
    cmdContinue = NamedButton(QStringLiteral("Continue"), status, "cmdContinue", Spoken::Text);
    cmdCancel = NamedButton(QStringLiteral("Cancel"), status, "cmdCancel", Spoken::Text);
    cmdContinue->hide();
    cmdCancel->hide();
    statusRow->addWidget(lblMessage, 1);
    statusRow->addWidget(cmdContinue);
    statusRow->addWidget(cmdCancel);

    ArrangeMainWindow(*this, 0);
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
    OnClick(chkSim, chkSim_Click);
    connect(tmrmessage, &platform::Timer::Tick, this, [] { Handle(tmrmessage_Timer); });
    connect(T1, &platform::Timer::Tick, this, [] { Handle(T1_Timer); });
    connect(tmrdelay, &platform::Timer::Tick, this, [] { Handle(tmrdelay_Timer); });
    connect(tmrFindGorda, &platform::Timer::Tick, this,
            [this] { tmrFindGorda->setEnabled(false); });
    connect(P1, &platform::CommControl::OnComm, this, [] { Handle(P1_OnComm); });
    connect(cmdOpen, &QPushButton::clicked, this, [] { Handle(cmdOpen_Click); });
    connect(cmdDebugger, &QPushButton::clicked, this, [] { Handle([] { dbg().show(); }); });
    connect(cmdDecodeIR, &QPushButton::clicked, this, [] { Handle(ShowIRG); });
    connect(cmdGamma, &QPushButton::clicked, this, [] { Handle(ShowGMA); });
    connect(cmdSupport, &QPushButton::clicked, this, [] { Handle(ShowSUP); });
    connect(cmdAdvanced, &QPushButton::clicked, this, [] { Handle(ShowADV); });

    // Panels and their selectors.
    connect(SSTab1, &QTabBar::currentChanged, this, [] { Handle(SSTab1_Click); });
    SSTab1->installEventFilter(this); // the wheel selects no input
    connect(lstPreset, &QListWidget::activated, this, [] { Handle(lstPreset_DblClick); });
    connect(lstProfile, &QListWidget::activated, this, [] { Handle(lstProfile_DblClick); });
    OnClick(optAnalog, optAnalog_Click);
    OnClick(optDigital, optDigital_Click);
    connect(cmdRefreshAll, &QPushButton::clicked, this, [] { Handle(cmdRefreshAll_Click); });
    for (QGroupBox* f : {FrameTop, FrameMid, FrameBtm})
        f->installEventFilter(this);
    OnClick(chkDefaults, chkDefaults_Click);
    OnClick(chkSaveRestore, chkSaveRestore_Click);

    // Value entry.
    connect(txtValEnter, &QLineEdit::returnPressed, this,
            [] { Handle([] { txtValEnter_KeyPress(13); }); });
    connect(lstSelect, &QListWidget::itemClicked, this, [] { Handle(lstSelect_Click); });
    connect(lstSelect, &QListWidget::itemActivated, this, [this] {
        if (!frmSelect->isHidden())
            Handle(lstSelect_Click);
    });
    for (QGroupBox* f : {frmEnter, frmSelect})
        f->installEventFilter(this);
    txtValEnter->installEventFilter(this);
    lstSelect->installEventFilter(this);

    // Save and restore.
    connect(cmdSave, &QPushButton::clicked, this, [] { Handle(cmdSave_Click); });
    connect(cmdRestore, &QPushButton::clicked, this, [] { Handle(cmdRestore_Click); });
    connect(cmdSaveAs, &QPushButton::clicked, this, [] { Handle(cmdSaveAs_Click); });
    connect(cmdSaveAs2, &QPushButton::clicked, this, [] { Handle(cmdSaveAs2_Click); });

    // The firmware loader.
    connect(cmdStart, &QPushButton::clicked, this, [] { Handle(cmdStartSCL_Click); });
}

bool SCL::eventFilter(QObject* watched, QEvent* e) {
    // Each tab is a command to the device: only a click or the keyboard selects one, never the
    // wheel passing over the tabs (each notch would send "4C" and start a refresh of its own).
    if (watched == SSTab1 && e->type() == QEvent::Wheel)
        return true;
    // A click on a panel's frame abandons a choice; so does Escape in a chooser.
    if (e->type() == QEvent::MouseButtonPress &&
        (watched == FrameTop || watched == FrameMid || watched == FrameBtm))
        Handle(Frame_Click);
    if (e->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(e)->key() == Qt::Key_Escape &&
        (watched == frmEnter || watched == frmSelect || watched == txtValEnter ||
         watched == lstSelect)) {
        Handle(Frame_Click);
        return true;
    }
    return QWidget::eventFilter(watched, e);
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
    {"OPEN", &SCL::cmdOpen, false},      {"LOAD", &SCL::cmdStart, true},
    {"END", &SCL::cmdEnd, true},         {"SUPPORT", &SCL::cmdSupport, false},
    {"IR", &SCL::cmdDecodeIR, false},    {"DEBUG", &SCL::cmdDebugger, false},
    {"ADV", &SCL::cmdAdvanced, false},   {"SAVE", &SCL::cmdSave, true},
    {"RESTORE", &SCL::cmdRestore, true}, {"REFRESH", &SCL::cmdRefreshAll, true},
    {"SAVEAS", &SCL::cmdSaveAs, true},   {"SAVEAS2", &SCL::cmdSaveAs2, true},
};
bool hits(const QString& words, const char* word) {
    return core::ContainsText(words, QStringLiteral("ALL")) ||
           core::ContainsText(words, QString::fromLatin1(word));
}
} // namespace

void EnableControls(const QString& words) {
    SCL& w = scl();
    for (const Group& g : kGroups) {
        if (hits(words, g.word))
            (w.*g.button)->setEnabled(true);
        // The beginner layout stops after the advanced button.
        if (Config().UserLevel == 1 && QLatin1String(g.word) == QLatin1String("ADV"))
            break;
    }
}

void DisableControls(const QString& words) {
    SCL& w = scl();
    for (const Group& g : kGroups)
        if (g.disable && hits(words, g.word))
            (w.*g.button)->setEnabled(false);
}

} // namespace telvo::ui
