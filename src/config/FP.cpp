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
    Label2 = new QLabel(this);
    Label2->setObjectName(QStringLiteral("Label2"));
    Label2->setWordWrap(true);
    Label2->hide();
    root->addWidget(Label2);
    CenterForm(this);
}

void FP::setProblem(const QString& text) {
    Label2->setText(text);
    Label2->setAccessibleName(text);
    Label2->setVisible(!text.isEmpty());
}

} // namespace telvo::ui
