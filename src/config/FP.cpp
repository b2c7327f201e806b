#include "config/FP.h"

#include "app/Controls.h"

#include <QApplication>
#include <QScreen>
#include <QVBoxLayout>

namespace telvo::ui {

FP::FP() {
    setObjectName(QStringLiteral("FP"));
    setWindowTitle(QStringLiteral("Checking For Valid COM Ports"));
    auto* root = new QVBoxLayout(this);
    Label1 = new QLabel(QStringLiteral("Number of Com Ports Found = 100"), this);
    Label1->setMinimumWidth(320);
    root->addWidget(Label1);
    CenterForm(this);
}

} // namespace telvo::ui
