#pragma once
// "Advanced Options": the process's scheduling class, the thread's priority, the speed of the
// program's own port (the device is not told), and the two file-list buttons of the loader.

#include <QButtonGroup>
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMap>
#include <QPushButton>
#include <QRadioButton>
#include <QWidget>

namespace telvo::ui {

class ADV : public QWidget {
    Q_OBJECT
public:
    ADV();

    QGroupBox* frmADV;
    QGroupBox* Frame5;
    QMap<int, QRadioButton*> optProcessPriority; // by the platform's class number
    QLabel* Label17;
    QLineEdit* txtThreadPriority;
    QPushButton* cmdPriUP;
    QPushButton* cmdPriDN;
    QGroupBox* Frame2;
    QRadioButton* optSpeed[6];
    QCheckBox* chkNoFWupdate;
    QPushButton* cmdDelFileList;
    QPushButton* cmdSaveFileList;
    QPushButton* cmdAdvDone;

    // True while the activate event sets the option buttons.
    bool Loading = false;

    void Form_Load();
    void Form_Activate();
    void optProcessPriority_Click(int index);
    void cmdPriUP_Click();
    void cmdPriDN_Click();
    void optSpeed_Click(int index);
    void cmdAdvDone_Click();

private:
    void stepThreadPriority(int step);
    QButtonGroup* m_classes;
    QButtonGroup* m_speeds;
};

ADV& adv();

} // namespace telvo::ui
