#include "config/INI.h"

#include "app/Controls.h"
#include "app/Globals.h"
#include "config/FP.h"
#include "config/IniLoader.h"
#include "core/config/IniFile.h"
#include "core/config/IniRewrite.h"
#include "core/text/Classic.h"
#include "link/Driver.h"
#include "platform/os/AppPath.h"

#include <QApplication>
#include <QFile>
#include <QGridLayout>
#include <QSaveFile>
#include <QScreen>
#include <QVBoxLayout>
#include <filesystem>

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

namespace telvo::ui {

namespace {

// Classic numbers of the general handling for a file that cannot be read or written.
constexpr int kFileNotFound = 53;
constexpr int kPathFileAccess = 75;

QString appFile(const char* name) {
    return platform::AppFile(QString::fromLatin1(name));
}

QStringList readIniLines(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        throw core::RuntimeError(kFileNotFound, QStringLiteral("File not found"));
    return core::SplitTextLines(f.readAll());
}

QByteArray joinLines(const QStringList& lines) {
    QByteArray bytes;
    for (const QString& line : lines) {
        bytes.append(line.toUtf8());
        bytes.append("\r\n");
    }
    return bytes;
}

void accessError() {
    throw core::RuntimeError(kPathFileAccess, QStringLiteral("Path/File access error"));
}

// Telvo.new is written whole and on disk before anything takes its place.
void writeNewFile(const QString& path, const QStringList& lines) {
    QFile::remove(path);
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        accessError();
    const QByteArray bytes = joinLines(lines);
    if (f.write(bytes) != bytes.size() || !f.flush())
        accessError();
#ifdef Q_OS_UNIX
    ::fsync(f.handle());
#endif
    f.close();
}

// A copy that is either whole or not there: written beside and renamed into place.
void copyWhole(const QString& from, const QString& to) {
    QFile in(from);
    if (!in.open(QIODevice::ReadOnly))
        throw core::RuntimeError(kFileNotFound, QStringLiteral("File not found"));
    QSaveFile out(to);
    if (!out.open(QIODevice::WriteOnly))
        accessError();
    out.write(in.readAll());
    if (!out.commit())
        accessError();
}

// Telvo.new takes the place of Telvo.ini in one step: there is never a half-written Telvo.ini,
// nor a moment without one.
void replaceIni(const QString& newFile, const QString& iniFile) {
    std::error_code ec;
    std::filesystem::rename(newFile.toStdString(), iniFile.toStdString(), ec);
    if (ec)
        accessError();
}

} // namespace

INI::INI() {
    setObjectName(QStringLiteral("INI"));
    setWindowTitle(QStringLiteral("INI File Initialization"));
    auto* root = new QVBoxLayout(this);
    lblInstr = new QLabel(this);
    lblInstr->setWordWrap(true);
    lblInstr->setMinimumWidth(520);
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

    // What the IR generator alone doesn't need.
    frmoptional = new QGroupBox(this);
    auto* fo = new QGridLayout(frmoptional);
    Label3 = new QLabel(QStringLiteral("Select the Serial Port speed  your Telvo scaler runs at"),
                        frmoptional);
    lstBaudRates = new QComboBox(frmoptional);
    Label8 = new QLabel(QStringLiteral("Select the Com Port  your Telvo scaler is connected to"),
                        frmoptional);
    lstPorts = new QComboBox(frmoptional);
    txtPort = new QLineEdit(frmoptional);
    txtPort->hide();
    auto* portCell = new QHBoxLayout;
    // txtPort stands at the left of lstPorts; one of the two is shown.
    portCell->addWidget(txtPort);
    portCell->addWidget(lstPorts);
    fo->addWidget(Label3, 0, 0);
    fo->addWidget(lstBaudRates, 0, 1);
    fo->addWidget(Label8, 1, 0);
    fo->addLayout(portCell, 1, 1);
    Label6 = new QLabel(QStringLiteral("Select Options present if any"), frmoptional);
    chkFRKDI = new QCheckBox(QStringLiteral("FRKDI 102"), frmoptional);
    chkSDI = new QCheckBox(QStringLiteral("SDI"), frmoptional);
    auto* optionRow = new QHBoxLayout;
    optionRow->addWidget(chkFRKDI);
    optionRow->addWidget(chkSDI);
    fo->addWidget(Label6, 2, 0);
    fo->addLayout(optionRow, 2, 1);
    auto* levelBox = new QGroupBox(frmoptional);
    auto* lv = new QGridLayout(levelBox);
    Label7 = new QLabel(QStringLiteral("Select the User level"), levelBox);
    optBeginner = new QRadioButton(QStringLiteral("Beginner"), levelBox);
    optAdvanced = new QRadioButton(QStringLiteral("Advanced"), levelBox);
    lv->addWidget(Label7, 0, 0);
    lv->addWidget(optBeginner, 0, 1);
    lv->addWidget(optAdvanced, 0, 2);
    auto* autoBox = new QGroupBox(frmoptional);
    auto* av = new QGridLayout(autoBox);
    Label5 = new QLabel(QStringLiteral("Auto Start if Connected"), autoBox);
    optAutoNo = new QRadioButton(QStringLiteral("No"), autoBox);
    optAutoYes = new QRadioButton(QStringLiteral("Yes"), autoBox);
    av->addWidget(Label5, 0, 0);
    av->addWidget(optAutoNo, 0, 1);
    av->addWidget(optAutoYes, 0, 2);
    fo->addWidget(levelBox, 3, 0, 1, 2);
    fo->addWidget(autoBox, 4, 0, 1, 2);
    root->addWidget(frmoptional);

    auto* buttons = new QHBoxLayout;
    cmdDone = new QPushButton(QStringLiteral("Done"), this);
    cmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    cmdDone->setAutoDefault(false);
    cmdCancel->setAutoDefault(false);
    buttons->addStretch();
    buttons->addWidget(cmdDone);
    buttons->addWidget(cmdCancel);
    root->addStretch();
    root->addLayout(buttons);

    connect(cmdDone, &QPushButton::clicked, this, [this] { Handle([this] { cmdDone_Click(); }); });
    connect(cmdCancel, &QPushButton::clicked, this,
            [this] { Handle([this] { cmdCancel_Click(); }); });
    connect(lstModels, &QComboBox::currentIndexChanged, this, [this] { lstModels_Click(); });
    OnClick(optIRyes, [this] { optIRyes_Click(); });
    OnClick(optIRno, [this] { optIRno_Click(); });
}

void INI::showEvent(QShowEvent* e) {
    QWidget::showEvent(e);
    if (m_loaded)
        return;
    m_loaded = true;
    const QString cr2 = QStringLiteral("\r\n\r\n");
    lblInstr->setText(QStringLiteral("The initialization of the ini file by the user has started "
                                     "because the first word in the Telvo.ini file is "
                                     "'PROTOTYPE'.") +
                      cr2 +
                      QStringLiteral("The user should now fill in the items being requested "
                                     "below. ") +
                      cr2 +
                      QStringLiteral("If the firmware revision is not sure leave as unknown. "));
    Handle([this] { InitializeINI(); });
    txtFirmware->setText(QStringLiteral("Unknown"));
    optBeginner->setChecked(true);
    optIRno->setChecked(true);
    optAutoNo->setChecked(true);
    adjustSize();
    CenterForm(this);
}

void INI::InitializeINI() {
    const QString path = IniFilePath();
    if (!QFile::exists(path))
        return;
    const core::IniSystemLists lists = core::ReadInitialLists(readIniLines(path));
    lstBaudRates->clear();
    lstBaudRates->addItems(lists.BaudRates);
    lstBaudRates->setCurrentIndex(lists.BaudRates.isEmpty() ? -1 : 0);
    lstModels->clear();
    lstModels->addItems(lists.Models);
    lstModels->setCurrentIndex(lists.Models.isEmpty() ? -1 : 0);
    if (!lists.HasMaxPorts)
        return;
    lstPorts->hide();
    txtPort->setText(QStringLiteral("COM1"));
    txtPort->hide();
    Config().MaxPorts = core::CInt(core::Val(lists.MaxPorts));
    if (!G().driver.PortsEnumerated) {
        EnumeratePorts();
        fp().hide();
    }
    const QStringList& found = G().driver.lstComPorts;
    if (!found.isEmpty()) {
        Label8->setText(QStringLiteral("SELECT the Com Port your Telvo Scaler is connected to"));
        lstPorts->clear();
        lstPorts->addItems(found);
        lstPorts->setCurrentIndex(0);
        lstPorts->show();
    } else {
        Label8->setText(QStringLiteral("SET the Com Port your Telvo Scaler is connected to"));
        txtPort->show();
    }
}

core::IniChoices INI::choices() const {
    core::IniChoices c;
    c.Model = lstModels->currentText();
    c.Baud = lstBaudRates->currentText();
    c.FRKDI = chkFRKDI->isChecked();
    c.SDI = chkSDI->isChecked();
    c.Firmware = txtFirmware->text();
    c.Beginner = optBeginner->isChecked();
    c.AutoStart = optAutoYes->isChecked();
    c.PortEntry = lstPorts->isHidden() ? txtPort->text() : lstPorts->currentText();
    c.DeviceConnected = optIRno->isChecked();
    return c;
}

void INI::UpdateINI() {
    const QString iniFile = IniFilePath();
    const QString newFile = appFile("Telvo.new");
    writeNewFile(newFile, core::RewriteForUpdate(readIniLines(iniFile), choices()));
    replaceIni(newFile, iniFile);
}

void INI::ResetINI() {
    const QString iniFile = IniFilePath();
    const QString newFile = appFile("Telvo.new");
    writeNewFile(newFile, core::RewriteForReset(readIniLines(iniFile)));
    copyWhole(iniFile, appFile("Telvoold.ini"));
    replaceIni(newFile, iniFile);
}

void INI::UpdateINIitem(const QString& key, const QString& value) {
    const QString iniFile = IniFilePath();
    const QString newFile = appFile("Telvo.new");
    writeNewFile(newFile, core::RewriteItem(readIniLines(iniFile), key, value));
    const QString oldFile = appFile("Telvo.old");
    QFile::remove(oldFile); // errors ignored
    copyWhole(iniFile, oldFile);
    replaceIni(newFile, iniFile);
}

void INI::cmdDone_Click() {
    UpdateINI();
    IniDone = true;
    hide();
}

void INI::cmdCancel_Click() {
    IniDone = false;
    hide();
}

void INI::lstModels_Click() {
    chkFRKDI->setEnabled(!core::SameText(lstModels->currentText(), QStringLiteral("Hesta")));
}

// The window shrinks to what the IR generator needs, and grows back.
void INI::optIRyes_Click() {
    frmoptional->hide();
    adjustSize();
}

void INI::optIRno_Click() {
    frmoptional->show();
    adjustSize();
}

} // namespace telvo::ui
