#include "firmware/RS.h"

#include "app/Controls.h"
#include "app/Globals.h"
#include "app/MajorSubs.h"
#include "app/Tools.h"
#include "core/firmware/FirmwareFiles.h"
#include "core/text/Classic.h"
#include "firmware/Firmware.h"
#include "firmware/LDR.h"
#include "link/DBG.h"
#include "link/zSCL.h"
#include "platform/clock/DoEvents.h"
#include "platform/dialogs/Platform.h"
#include "platform/os/AppPath.h"
#include "settings/SCL.h"

#include <QFile>
#include <QGridLayout>

namespace telvo::ui {

namespace {
bool restartFileExists(const QString& spelling) {
    return QFile::exists(platform::AppFile(spelling));
}
} // namespace

RS::RS() {
    setObjectName(QStringLiteral("RS"));
    setWindowTitle(QStringLiteral("Emergency Firmware Update Restart"));
    auto* grid = new QGridLayout(this);
    Label3 = new QLabel(this);
    Label3->setObjectName(QStringLiteral("Label3"));
    Label3->setWordWrap(true);
    Label3->setMinimumWidth(420);
    Label1 = new QLabel(QStringLiteral("Select File to Load"), this);
    Label1->setObjectName(QStringLiteral("Label1"));
    Text1 = new QLineEdit(this);
    Text1->setObjectName(QStringLiteral("Text1"));
    Text1->setAccessibleName(Label1->text());
    Label1->setBuddy(Text1);
    cmdBrowse = NamedButton(QStringLiteral("Browse"), this, "cmdBrowse");
    Label2 = new QLabel(QStringLiteral("Select Select COM Port"), this);
    Label2->setObjectName(QStringLiteral("Label2"));
    List1 = new QListWidget(this);
    List1->setObjectName(QStringLiteral("List1"));
    List1->setAccessibleName(Label2->text());
    List1->setMaximumHeight(90);
    Label2->setBuddy(List1);
    Check1 = new QCheckBox(QStringLiteral("Use Existing Restart File"), this);
    Check1->setObjectName(QStringLiteral("Check1"));
    Check1->setAccessibleName(Check1->text());
    cmdReStart = NamedButton(QStringLiteral("Restart"), this, "cmdReStart");
    cmdCancel = NamedButton(QStringLiteral("Cancel"), this, "cmdCancel");
    grid->addWidget(Label3, 0, 0, 1, 3);
    grid->addWidget(Label1, 1, 0);
    grid->addWidget(Text1, 1, 1);
    grid->addWidget(cmdBrowse, 1, 2);
    grid->addWidget(Label2, 2, 0);
    grid->addWidget(List1, 2, 1, 1, 2);
    grid->addWidget(Check1, 3, 0, 1, 3);
    grid->addWidget(cmdReStart, 4, 1);
    grid->addWidget(cmdCancel, 4, 2);
    OnClick(Check1, RS_Check1_Click);
    connect(List1, &QListWidget::itemClicked, this, [] { Handle(RS_List1_Click); });
    connect(cmdBrowse, &QPushButton::clicked, this, [] { Handle(RS_cmdBrowse_Click); });
    connect(cmdReStart, &QPushButton::clicked, this, [] { Handle(RS_cmdReStart_Click); });
    connect(cmdCancel, &QPushButton::clicked, this, [] { Handle(RS_cmdCancel_Click); });
}

void RS::showEvent(QShowEvent* e) {
    QWidget::showEvent(e);
    if (!m_loaded) {
        m_loaded = true;
        Label3->setText(
            QStringLiteral(
                "Select the file to be loaded, Select the COM port the unit is connected to. ") +
            QStringLiteral(
                "The unit should be sitting at the boot Loader Prompt (Load frk file now). ") +
            QStringLiteral("Click Restart to begin the loading process. "));
        Label3->setAccessibleName(Label3->text());
        QComboBox* ports = scl().lstPort;
        List1->clear();
        for (int i = 0; i < ports->count(); ++i)
            List1->addItem(ports->itemText(i));
        Check1->setVisible(restartFileExists(QStringLiteral("RestartLoader.txt")));
        adjustSize();
        CenterForm(this);
        // Yielding inside the show is the classic load's last step; it is done by a queued call,
        // so the window is on screen first.
        QMetaObject::invokeMethod(
            this,
            [] {
                Handle([] {
                    platform::DoEvents();
                    Pause(100);
                });
            },
            Qt::QueuedConnection);
    }
    Check1->setVisible(restartFileExists(QStringLiteral("Restartloader.txt")));
    if (Check1->isHidden())
        untickCheck1();
}

void RS::hideEvent(QHideEvent* e) {
    untickCheck1();
    QWidget::hideEvent(e);
}

void RS::untickCheck1() {
    if (!Check1->isChecked())
        return;
    Check1->setChecked(false);
    RS_Check1_Click();
}

void RS_Check1_Click() {
    RS& w = rs();
    const bool enable = !w.Check1->isChecked();
    for (QWidget* c : {static_cast<QWidget*>(w.cmdBrowse), static_cast<QWidget*>(w.List1),
                       static_cast<QWidget*>(w.Label1), static_cast<QWidget*>(w.Label2)})
        c->setEnabled(enable);
}

void RS_List1_Click() {
    RS& w = rs();
    if (QListWidgetItem* item = w.List1->currentItem())
        scl().txtPort->setText(item->text());
}

void RS_cmdBrowse_Click() {
    LDR& l = ldr();
    if (BuildFileList(App().DebuggerMode) != core::kNoFileList) {
        const QString file = FW().LastFirmwareFile;
        G().ldrText.setText(file);
        G().dbgText.setText(file);
        rs().Text1->setText(file);
        l.SyncText();
        if (WindowExists("DBG"))
            dbg().SyncText();
        l.Text1->moveCursor(QTextCursor::End);
    } else {
        G().ldrText.clear();
        G().dbgText.clear();
        l.SyncText();
        if (WindowExists("DBG"))
            dbg().SyncText();
    }
}

void RS_cmdReStart_Click() {
    RS& w = rs();
    SCL& s = scl();
    FirmwareGlobals& fw = FW();
    QString line;
    if (w.Check1->isChecked()) {
        LogLine(QStringLiteral("Using Restart file to restart the loader"));
        QFile f(platform::JobFile(QStringLiteral("RestartLoader.txt")));
        if (!f.open(QIODevice::ReadOnly)) {
            platform::MessageBox(QStringLiteral("Restart Command1:Error opening file for input") +
                                 QStringLiteral("\r\n") + platform::JobFolder() +
                                 QStringLiteral("\\RestartLoader.txt") + QStringLiteral("\r\n") +
                                 f.errorString());
            return;
        }
        line = core::FirstLine(f.readAll());
    } else if (!w.List1->currentItem() || !w.List1->currentItem()->isSelected() ||
               G().ldrText.isEmpty()) {
        // The warning doesn't stop the restart: it runs on with empty fields.
        const QString text = QStringLiteral("You must select a COM port and a File to load");
        LogLine(text);
        platform::MessageBox(text);
    } else {
        line = w.List1->currentItem()->text() + QStringLiteral(",19200,57600,0");
    }
    const core::RestartRecord r = core::ParseRestartLine(line);
    s.txtPort->setText(r.port);
    s.txtOrigSpeed->setText(r.origSpeed);
    s.txtxfrspeed->setText(r.xfrSpeed);
    // The boot loader runs at the transfer speed.
    s.txtCrntSpeed->setText(s.txtxfrspeed->text());
    fw.RestartIndex = r.index;
    Link().PowerState = QStringLiteral("ON");
    fw.RestartLoad = true;
    App().RestartBusy = true;
    w.hide();
    ldr().show();
    ldr().raise();
    const auto done = [&fw] {
        fw.RestartLoad = false;
        App().RestartBusy = false;
    };
    try {
        RunFirmwareLoad(fw.RestartLoad);
    } catch (...) {
        done();
        throw;
    }
    done();
}

void RS_cmdCancel_Click() {
    QFile::remove(platform::JobFile(QStringLiteral("RestartLoader.txt")));
    rs().hide();
}

void ShowRestartWindow() {
    RS& w = rs();
    w.show();
    w.raise();
    // Shown as a modal window: the caller waits until it is hidden.
    WaitOnWindow(w);
}

void ResumeCutOffLoad() {
    rs().show();
    rs().raise();
    // The cut-off load is taken up before anything else of the start-up happens.
    while (!rs().isHidden() || !ldr().isHidden() || App().RestartBusy)
        platform::DoEvents();
}

} // namespace telvo::ui
