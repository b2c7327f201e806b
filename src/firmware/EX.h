#pragma once
// "Final Speed Selection": leaves the device at a rate of the user's choice as the program ends.

#include <QCheckBox>
#include <QLabel>
#include <QList>
#include <QPushButton>
#include <QWidget>

namespace telvo::ui {

class EX : public QWidget {
    Q_OBJECT
public:
    EX();

    QLabel* Label1;
    QList<QCheckBox*> Check1; // 57600 down to 4800, in the window's order of controls
    QPushButton* cmdSetandExit;
    QPushButton* cmdExit;
    QPushButton* cmdCancel;

protected:
    void showEvent(QShowEvent* e) override;

private:
    bool m_centred = false;
};

void EX_cmdSetandExit_Click();
void EX_cmdExit_Click();

} // namespace telvo::ui
