#pragma once
// "Firmware Request": asks the firmware version when the device could not tell it.

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QWidget>

namespace telvo::ui {

class FWR : public QWidget {
    Q_OBJECT
public:
    FWR();

    QLineEdit* Text1;
    QPushButton* Command1;
    QLabel* Label1;

    void Command1_Click();
    // Enter in Text1: the version is taken, the file is not written.
    void Text1_Enter();

protected:
    void showEvent(QShowEvent* e) override;

private:
    void load();
    void unload();
    bool m_loaded = false;
};

} // namespace telvo::ui
