#include "config/INI.h"

#include <QGridLayout>
#include <QVBoxLayout>

namespace telvo::ui {

INI::INI() {
    setObjectName(QStringLiteral("INI"));
    setWindowTitle(QStringLiteral("INI File Initialization"));
    auto* root = new QVBoxLayout(this);
    lblInstr = new QLabel(this);
    lblInstr->setWordWrap(true);
    root->addWidget(lblInstr);
    auto* grid = new QGridLayout;
    Label1 = new QLabel(QStringLiteral("Select the model of your Telvo scaler"), this);
    lstModels = new QComboBox(this);
    Label2 = new QLabel(QStringLiteral("Select the Firmware version of your Telvo scaler"), this);
    txtFirmware = new QLineEdit(this);
    grid->addWidget(Label1, 0, 0);
    grid->addWidget(lstModels, 0, 1);
    grid->addWidget(Label2, 1, 0);
    grid->addWidget(txtFirmware, 1, 1);
    root->addLayout(grid);
    Frame3 = new QGroupBox(this);
    auto* f3 = new QGridLayout(Frame3);
    Label4 = new QLabel(QStringLiteral("Configure as IR Generator only"), Frame3);
    optIRno = new QRadioButton(QStringLiteral("No"), Frame3);
    optIRyes = new QRadioButton(QStringLiteral("Yes"), Frame3);
    f3->addWidget(Label4, 0, 0);
    f3->addWidget(optIRno, 0, 1);
    f3->addWidget(optIRyes, 0, 2);
    root->addWidget(Frame3);
    frmoptional = new QGroupBox(this);
    auto* fo = new QGridLayout(frmoptional);
    Label3 = new QLabel(QStringLiteral("Select the Serial Port speed  your Telvo scaler runs at"),
                        frmoptional);
    lstBaudRates = new QComboBox(frmoptional);
    Label8 = new QLabel(QStringLiteral("Select the Com Port  your Telvo scaler is connected to"),
                        frmoptional);
    lstPorts = new QComboBox(frmoptional);
    txtPort = new QLineEdit(frmoptional);
    fo->addWidget(Label3, 0, 0);
    fo->addWidget(lstBaudRates, 0, 1);
    fo->addWidget(Label8, 1, 0);
    fo->addWidget(lstPorts, 1, 1);
    fo->addWidget(txtPort, 1, 2);
    root->addWidget(frmoptional);
    auto* opts = new QGridLayout;
    Label6 = new QLabel(QStringLiteral("Select Options present if any"), this);
    chkFRKDI = new QCheckBox(QStringLiteral("FRKDI 102"), this);
    chkSDI = new QCheckBox(QStringLiteral("SDI"), this);
    opts->addWidget(Label6, 0, 0);
    opts->addWidget(chkFRKDI, 0, 1);
    opts->addWidget(chkSDI, 0, 2);
    auto* levelBox = new QGroupBox(this);
    auto* lv = new QGridLayout(levelBox);
    Label7 = new QLabel(QStringLiteral("Select the User level"), levelBox);
    optBeginner = new QRadioButton(QStringLiteral("Beginner"), levelBox);
    optAdvanced = new QRadioButton(QStringLiteral("Advanced"), levelBox);
    lv->addWidget(Label7, 0, 0);
    lv->addWidget(optBeginner, 0, 1);
    lv->addWidget(optAdvanced, 0, 2);
    auto* autoBox = new QGroupBox(this);
    auto* av = new QGridLayout(autoBox);
    Label5 = new QLabel(QStringLiteral("Auto Start if Connected"), autoBox);
    optAutoNo = new QRadioButton(QStringLiteral("No"), autoBox);
    optAutoYes = new QRadioButton(QStringLiteral("Yes"), autoBox);
    av->addWidget(Label5, 0, 0);
    av->addWidget(optAutoNo, 0, 1);
    av->addWidget(optAutoYes, 0, 2);
    root->addLayout(opts);
    root->addWidget(levelBox);
    root->addWidget(autoBox);
    auto* buttons = new QHBoxLayout;
    cmdDone = new QPushButton(QStringLiteral("Done"), this);
    cmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    buttons->addStretch();
    buttons->addWidget(cmdDone);
    buttons->addWidget(cmdCancel);
    root->addLayout(buttons);
    connect(cmdDone, &QPushButton::clicked, this, [this] { cmdDone_Click(); });
    connect(cmdCancel, &QPushButton::clicked, this, [this] { cmdCancel_Click(); });
}

void INI::showEvent(QShowEvent* e) {
    QWidget::showEvent(e);
    if (m_loaded) return;
    m_loaded = true;
    optBeginner->setChecked(true);
    optIRno->setChecked(true);
    optAutoNo->setChecked(true);
    txtFirmware->setText(QStringLiteral("Unknown"));
    InitializeINI();
}

void INI::InitializeINI() {}
void INI::UpdateINI() {}
void INI::ResetINI() {}
void INI::UpdateINIitem(const QString&, const QString&) {}

void INI::cmdDone_Click() {
    UpdateINI();
    IniDone = true;
    hide();
}

void INI::cmdCancel_Click() {
    IniDone = false;
    hide();
}

} // namespace telvo::ui
