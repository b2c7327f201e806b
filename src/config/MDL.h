#pragma once
// "Enter Vorix Model Number": asks the model when the device could not tell it.

#include <QLabel>
#include <QListWidget>
#include <QWidget>

namespace telvo::ui {

class MDL : public QWidget {
    Q_OBJECT
public:
    MDL();

    QListWidget* lstModels;
    QLabel* Label1;

    void lstModels_Click(int index);

protected:
    void showEvent(QShowEvent* e) override;

private:
    void load();
    void unload();
    bool m_loaded = false;
};

} // namespace telvo::ui
