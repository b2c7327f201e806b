#pragma once
// "Emergency Firmware Update Restart": takes a cut-off load up again from the boot loader's
// prompt, with port and speeds from the user or from RestartLoader.txt.

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QWidget>

namespace telvo::ui {

class RS : public QWidget {
    Q_OBJECT
public:
    RS();

    QLabel* Label3;
    QLabel* Label1;
    QLineEdit* Text1;
    QPushButton* cmdBrowse;
    QLabel* Label2;
    QListWidget* List1;
    QCheckBox* Check1;
    QPushButton* cmdReStart;
    QPushButton* cmdCancel;

protected:
    void showEvent(QShowEvent* e) override;
    void hideEvent(QHideEvent* e) override;

private:
    // A box that is not on screen is not ticked: Browse and the list come back with it.
    void untickCheck1();
    bool m_loaded = false;
};

void RS_Check1_Click();
void RS_List1_Click();
void RS_cmdBrowse_Click();
void RS_cmdReStart_Click();
void RS_cmdCancel_Click();

} // namespace telvo::ui
