#include "config/MDL.h"

#include "app/Controls.h"
#include "app/Globals.h"
#include "config/INI.h"
#include "core/text/Classic.h"
#include "settings/SCL.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QScreen>

namespace telvo::ui {

MDL::MDL() {
    setObjectName(QStringLiteral("MDL"));
    setWindowTitle(QStringLiteral("Enter Vorix Model Number"));
    auto* row = new QHBoxLayout(this);
    lstModels = new QListWidget(this);
    lstModels->setMinimumSize(140, 160);
    Label1 = new QLabel(
        QStringLiteral(
            "Select your Telvo device model from the list at the left by clicking on it"),
        this);
    Label1->setWordWrap(true);
    Label1->setMinimumWidth(220);
    row->addWidget(lstModels);
    row->addWidget(Label1, 1);
    connect(lstModels, &QListWidget::itemClicked, this, [this](QListWidgetItem* item) {
        const int index = lstModels->row(item);
        Handle([this, index] { lstModels_Click(index); });
    });
}

void MDL::showEvent(QShowEvent* e) {
    QWidget::showEvent(e);
    if (!m_loaded)
        load();
}

void MDL::load() {
    m_loaded = true;
    // The list as the reader made it from VORIXMODELS: "None" above the models.
    lstModels->clear();
    lstModels->addItems(App().ModelList);
    CenterForm(this);
}

void MDL::unload() {
    m_loaded = false;
    hide();
}

void MDL::lstModels_Click(int index) {
    QLabel* DeviceModel = scl().DeviceModel;
    if (index == 0) {
        DeviceModel->setText(QStringLiteral("Vorix"));
    } else {
        hide();
        DeviceModel->setText(lstModels->item(index)->text());
    }
    if (!core::TrimBlank(DeviceModel->text()).isEmpty())
        ini().UpdateINIitem(QStringLiteral("Model"), DeviceModel->text());
    unload();
}

} // namespace telvo::ui
