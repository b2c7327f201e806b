#pragma once
// "INI File Initialization": leads a first-time user through a template Telvo.ini.

#include "core/config/IniRewrite.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QWidget>

namespace telvo::ui {

class INI : public QWidget {
    Q_OBJECT
public:
    INI();

    QLabel* lblInstr;
    QComboBox* lstModels;
    QLabel* Label1;
    QLineEdit* txtFirmware;
    QLabel* Label2;
    QGroupBox* Frame3;
    QRadioButton* optIRno;
    QRadioButton* optIRyes;
    QLabel* Label4;
    QGroupBox* frmoptional;
    QComboBox* lstBaudRates;
    QLabel* Label3;
    QComboBox* lstPorts;
    QLineEdit* txtPort;
    QLabel* Label8;
    QCheckBox* chkFRKDI;
    QCheckBox* chkSDI;
    QLabel* Label6;
    QRadioButton* optBeginner;
    QRadioButton* optAdvanced;
    QLabel* Label7;
    QRadioButton* optAutoNo;
    QRadioButton* optAutoYes;
    QLabel* Label5;
    QPushButton* cmdDone;
    QPushButton* cmdCancel;

    bool IniDone = false;

    void InitializeINI();
    void UpdateINI();
    void ResetINI();
    void UpdateINIitem(const QString& key, const QString& value);

    void cmdDone_Click();
    void cmdCancel_Click();
    void lstModels_Click();
    void optIRyes_Click();
    void optIRno_Click();

protected:
    void showEvent(QShowEvent* e) override;

private:
    core::IniChoices choices() const;
    bool m_loaded = false;
};

} // namespace telvo::ui
