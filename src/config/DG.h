#pragma once
// "Warning Regarding USB to Serial Converters", shown before the loader window unless the user
// asked not to see it again.

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QWidget>

namespace telvo::ui {

class DG : public QWidget {
    Q_OBJECT
public:
    DG();

    QLabel* Label1;
    QLabel* Label2;
    QCheckBox* Check1;
    QPushButton* Command1;
    QPushButton* Command2;

protected:
    void showEvent(QShowEvent* e) override;

private:
    bool m_loaded = false;
};

void DG_Check1_Click();

} // namespace telvo::ui
