#include "config/DG.h"

#include "app/Controls.h"
#include "config/modRegistry.h"
#include "firmware/Firmware.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace telvo::ui {

DG::DG() {
    setObjectName(QStringLiteral("DG"));
    setWindowTitle(QStringLiteral("Warning Regarding USB to Serial Converters"));
    auto* root = new QVBoxLayout(this);
    Label1 = new QLabel(this);
    Label1->setObjectName(QStringLiteral("Label1"));
    Label1->setStyleSheet(QStringLiteral("font-weight: bold; color: rgb(192,0,0)"));
    Label2 = new QLabel(this);
    Label2->setObjectName(QStringLiteral("Label2"));
    Label2->setWordWrap(true);
    Label2->setMinimumWidth(460);
    Check1 = new QCheckBox(QStringLiteral("Do not show this warning again"), this);
    Check1->setObjectName(QStringLiteral("Check1"));
    Check1->setAccessibleName(Check1->text());
    Command1 = new QPushButton(QStringLiteral("Continue"), this);
    Command1->setObjectName(QStringLiteral("Command1"));
    Command1->setAccessibleName(Command1->text());
    Command2 = new QPushButton(QStringLiteral("Cancel"), this);
    Command2->setObjectName(QStringLiteral("Command2"));
    Command2->setAccessibleName(Command2->text());
    root->addWidget(Label1);
    root->addWidget(Label2);
    root->addWidget(Check1);
    auto* row = new QHBoxLayout;
    row->addStretch();
    row->addWidget(Command1);
    row->addWidget(Command2);
    root->addLayout(row);
    OnClick(Check1, DG_Check1_Click);
    connect(Command1, &QPushButton::clicked, this, [this] {
        FW().DgCancelled = false;
        hide();
    });
    connect(Command2, &QPushButton::clicked, this, [this] {
        FW().DgCancelled = true;
        hide();
    });
}

void DG::showEvent(QShowEvent* e) {
    if (!m_loaded) {
        m_loaded = true;
        Label1->setText(QStringLiteral("PLEASE READ THIS FIRST BEFORE DOWNLOADING SOFTWARE!!!!"));
        Label2->setText(QStringLiteral(
            "We have found problems with the newest FTDI USB-to-serial driver (1.0.2176.0). If you "
            "have this driver and use it to install any .frk file, you will not be able to "
            "complete "
            "the installation and your Vorix will be in a useless state until you can install an "
            ".frk file with the driver we have available at our Web site or a serial-to-serial "
            "connection. We are attempting to get this corrected in the next driver version, but "
            "we "
            "would like to provide a solution for this problem now. If you revert to the previous "
            "version driver there are no issues. Note: this only applies to adapters with the FTDI "
            "chip-set."));
        Label1->setAccessibleName(Label1->text());
        Label2->setAccessibleName(Label2->text());
        adjustSize();
        CenterForm(this);
    }
    QWidget::showEvent(e);
}

void DG_Check1_Click() {
    // Written at once, in both directions.
    RegWrite(QStringLiteral("HKCU"), QString::fromLatin1(kDongleKey),
             QStringLiteral("ShowDongleWarning"), QStringLiteral("D"),
             dg().Check1->isChecked() ? 1 : 0);
}

} // namespace telvo::ui
