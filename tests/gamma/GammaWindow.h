#pragma once
// The gamma window's tests: the window shown on the scripted platform, which also keeps where
// each dialog started and its filter.

#include "common/Accessible.h"
#include "common/Fixture.h"
#include "platform/doubles/ScriptedPlatform.h"

#include "core/gamma/GammaFiles.h"
#include "core/text/Classic.h"
#include "gamma/GMA.h"

#include <QChart>
#include <QChartView>
#include <QDir>
#include <QHeaderView>
#include <QLineSeries>
#include <QTest>
#include <cfenv>
#include <cmath>

namespace telvo::test {

// The scripted platform, also keeping where each dialog started and its filter.
class GammaPlatform : public platform::ScriptedPlatform {
public:
    QString OpenFileDialog(const QString& title, const QString& dir,
                           const QString& filter) override {
        dirs << dir;
        filters << filter;
        return ScriptedPlatform::OpenFileDialog(title, dir, filter);
    }
    QString SaveFileDialog(const QString& title, const QString& dir,
                           const QString& filter) override {
        dirs << dir;
        filters << filter;
        return ScriptedPlatform::SaveFileDialog(title, dir, filter);
    }
    QStringList dirs;
    QStringList filters;
};

inline int roundEven(double v) {
    std::fesetround(FE_TONEAREST);
    return int(std::nearbyint(v));
}

class GammaWindow : public RunFixture {
protected:
    void SetUp() override {
        RunFixture::SetUp();
        auto p = std::make_unique<GammaPlatform>();
        gp = p.get();
        platform::InstallPlatform(std::move(p));
        scripted = gp;
        ui::ShowGMA();
        w().resize(1100, 760);
    }
    ui::GMA& w() { return ui::gma(); }
    void click(QWidget* b) { QTest::mouseClick(b, Qt::LeftButton); }
    QString cell(int row, int col) { return w().Grid().Text(row, col); }
    QString gammaDir() { return QDir(home()).filePath(QStringLiteral("Gamma")); }
    // A table whose three columns differ: red 0.45, green 1.8, blue 2.2.
    void threeCurves() {
        const std::pair<int, const char*> runs[] = {{1, "0.45"}, {2, "1.8"}, {3, "2.2"}};
        for (auto [option, g] : runs) {
            w().OptColor[size_t(option)]->setChecked(true);
            w().txtGamma->setText(QString::fromLatin1(g));
            click(w().cmdCompute);
        }
    }
    QStringList snapshot() {
        QStringList s;
        for (int r = 0; r < ui::GammaGrid::kRows; ++r)
            for (int c = 0; c < ui::GammaGrid::kCols; ++c)
                s << cell(r, c);
        s << w().txtGamma->text() << w().txtDSPgamma->text() << w().txtSG->text()
          << QString::number(w().ColorOption()) << QString::number(w().DataChanged)
          << QString::number(w().chkDSPRef->isChecked()) << w().frmChart->title()
          << QString::number(w().MSC1->isHidden()) << w().GammaFileName;
        return s;
    }
    void doubleClickCell(int row, int col) {
        const QModelIndex i = w().Grid().index(row, col);
        w().FG1->scrollTo(i);
        const QPoint p = w().FG1->visualRect(i).center();
        // A widget's double click in QTest is the second click alone: the first comes before.
        QTest::mouseClick(w().FG1->viewport(), Qt::LeftButton, {}, p);
        QTest::mouseDClick(w().FG1->viewport(), Qt::LeftButton, {}, p);
    }
    void typeInto(QLineEdit* box, const QString& text) {
        box->setText(text);
        QTest::keyClick(box, Qt::Key_Return);
    }
    GammaPlatform* gp = nullptr;
};

} // namespace telvo::test
