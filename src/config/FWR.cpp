#include "config/FWR.h"

#include "app/Controls.h"
#include "app/Globals.h"
#include "config/INI.h"
#include "core/text/Classic.h"
#include "settings/SCL.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QScreen>
#include <QVBoxLayout>

namespace telvo::ui {

FWR::FWR() {
    setObjectName(QStringLiteral("FWR"));
    setWindowTitle(QStringLiteral("Firmware Request"));
    auto* row = new QHBoxLayout(this);
    Label1 = new QLabel(this);
    Label1->setWordWrap(true);
    Label1->setMinimumWidth(300);
    auto* right = new QVBoxLayout;
    Text1 = new QLineEdit(this);
    Text1->setFixedWidth(90);
    Command1 = new QPushButton(QStringLiteral("OK"), this);
    Command1->setAutoDefault(false);
    right->addWidget(Text1);
    right->addWidget(Command1);
    right->addStretch();
    row->addWidget(Label1, 1);
    row->addLayout(right);
    connect(Command1, &QPushButton::clicked, this,
            [this] { Handle([this] { Command1_Click(); }); });
    connect(Text1, &QLineEdit::returnPressed, this, [this] { Handle([this] { Text1_Enter(); }); });
}

void FWR::showEvent(QShowEvent* e) {
    QWidget::showEvent(e);
    if (!m_loaded)
        load();
}

void FWR::load() {
    m_loaded = true;
    Text1->clear();
    Label1->setText(QStringLiteral("If you know the firmware currently loaded in your Vorix device "
                                   "please enter it in the box to the right.") +
                    QStringLiteral("\r\n\r\n") +
                    QStringLiteral("The format is N.NN where N are digits (e.g. 1.07).") +
                    QStringLiteral("\r\n\r\n") + QStringLiteral("Click 'OK'") +
                    QStringLiteral("\r\n\r\n") +
                    QStringLiteral("If you do not know the firmware loaded just click 'OK'"));
    CenterForm(this);
}

void FWR::unload() {
    m_loaded = false;
    hide();
}

void FWR::Command1_Click() {
    const QString version = core::TrimBlank(Text1->text());
    scl().txtFirmware->setText(version);
    if (!version.isEmpty())
        ini().UpdateINIitem(QStringLiteral("Current Firmware"), version);
    unload();
}

void FWR::Text1_Enter() {
    scl().txtFirmware->setText(core::TrimBlank(Text1->text()));
    unload();
}

} // namespace telvo::ui
