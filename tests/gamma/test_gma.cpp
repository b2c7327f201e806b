// "Telvo Hesta Gamma Control Loader": the window driven through its buttons, boxes, grid and
// chart, with the scripted platform answering dialogs and questions.

#include "GammaWindow.h"

using namespace telvo;
using namespace telvo::test;

TEST_F(GammaWindow, LoadsWithItsCaptionsAndAnEmptyGrid) {
    EXPECT_EQ(w().windowTitle(), QStringLiteral("Telvo Hesta Gamma Control Loader"));
    EXPECT_EQ(w().Frame1->title(), QStringLiteral("LUT Table Data"));
    EXPECT_EQ(w().Frame2->title(), QStringLiteral("Construct Scalar Gamma;  Source Gamma = "));
    EXPECT_EQ(w().Frame3->title(), QStringLiteral("Program Control"));
    EXPECT_EQ(w().txtSG->text(), QStringLiteral("0.45"));
    EXPECT_DOUBLE_EQ(w().SourceGamma, 0.45);
    EXPECT_EQ(w().lblBuilding->text(), QStringLiteral("Building    Chart"));
    EXPECT_TRUE(w().MSC1->isHidden());
    EXPECT_TRUE(w().txtHiLite->isHidden());
    EXPECT_TRUE(w().frmGIN->isHidden());
    EXPECT_TRUE(w().cmdBrowse->isHidden());
    EXPECT_EQ(w().frmGIN->title(), QStringLiteral("Enter a Name for The Gamma Data"));
    EXPECT_EQ(w().Grid().rowCount(), 1025);
    EXPECT_EQ(w().Grid().columnCount(), 4);
    EXPECT_EQ(cell(0, 0), QStringLiteral("Address"));
    EXPECT_EQ(cell(0, 1), QStringLiteral("Red"));
    EXPECT_EQ(cell(0, 2), QStringLiteral("Green"));
    EXPECT_EQ(cell(0, 3), QStringLiteral("Blue"));
    EXPECT_EQ(w().FG1->model()->headerData(2, Qt::Horizontal).toString(), QStringLiteral("Green"));
    EXPECT_EQ(cell(1, 0), QStringLiteral("0000"));
    EXPECT_EQ(cell(1024, 0), QStringLiteral("1023"));
    EXPECT_EQ(cell(1, 1), QString());
    // Row 0 is the fixed header row: the view shows it as its header, not among the rows.
    EXPECT_TRUE(w().FG1->isRowHidden(0));
    click(w().cmdNew);
    EXPECT_TRUE(w().FG1->isRowHidden(0));
    EXPECT_EQ(w().Grid().data(w().Grid().index(5, 2), Qt::TextAlignmentRole).toInt(),
              int(Qt::AlignCenter));
}

TEST_F(GammaWindow, EveryControlHasItsNameAndASpokenName) {
    const std::pair<QWidget*, const char*> controls[] = {
        {w().Frame1, "LUT Table Data"},
        {w().FG1, nullptr},
        {w().txtHiLite, nullptr},
        {w().frmChart, nullptr},
        {w().MSC1, nullptr},
        {w().lblBuilding, "Building    Chart"},
        {w().Frame2, "Set Gamma Value"},
        {w().Label1, "Scalar Gamma"},
        {w().txtGamma, "Scalar Gamma"},
        {w().Label5, "Display Gamma"},
        {w().txtDSPgamma, "Display Gamma"},
        {w().txtSG, "Source Gamma"},
        {w().chkDSPRef, "Use Display Reference Data"},
        {w().cmdBrowse, "Open"},
        {w().OptColor[0], "All"},
        {w().OptColor[1], "Red"},
        {w().OptColor[2], "Green"},
        {w().OptColor[3], "Blue"},
        {w().cmdCompute, "Compute"},
        {w().cmdLoad, "Load"},
        {w().Frame3, "Program Control"},
        {w().cmdNew, "New"},
        {w().cmdOpen, "Open"},
        {w().cmdSave, "Save"},
        {w().cmdSaveAs, "Save As"},
        {w().cmdExit, "Done"},
        {w().frmGIN, "Enter a Name for The Gamma Data"},
        {w().txtGIN, nullptr},
        {w().cmdDir, "Accept"},
        {w().cmdCancel, "Cancel"}};
    for (auto [widget, spoken] : controls) {
        EXPECT_FALSE(widget->objectName().isEmpty());
        EXPECT_FALSE(widget->accessibleName().isEmpty()) << widget->objectName().toStdString();
        if (spoken) {
            EXPECT_EQ(widget->accessibleName(), QString::fromLatin1(spoken));
        }
    }
    EXPECT_EQ(w().cmdExit->objectName(), QStringLiteral("cmdExit"));
    EXPECT_EQ(w().cmdExit->text(), QStringLiteral("Done"));
    EXPECT_EQ(w().Label1->buddy(), w().txtGamma);
    EXPECT_EQ(w().Label5->buddy(), w().txtDSPgamma);
}

TEST_F(GammaWindow, NewComputesTheUnitTableWithTheDefaults) {
    click(w().cmdNew);
    EXPECT_EQ(w().txtDSPgamma->text(), QStringLiteral("2.2"));
    EXPECT_EQ(w().txtGamma->text(), QStringLiteral("1.0"));
    EXPECT_TRUE(w().OptColor[0]->isChecked());
    EXPECT_FALSE(w().chkDSPRef->isChecked());
    EXPECT_FALSE(w().txtDSPgamma->isEnabled());
    for (int row = 1; row <= 1024; ++row)
        for (int c = 1; c <= 3; ++c)
            ASSERT_EQ(cell(row, c), core::FormatCode(row - 1));
    EXPECT_EQ(cell(1, 1), QStringLiteral("0000"));
    EXPECT_EQ(cell(1024, 3), QStringLiteral("1023"));
    EXPECT_TRUE(w().DataChanged);
    EXPECT_FALSE(w().MSC1->isHidden());
    EXPECT_TRUE(w().lblBuilding->isHidden());
    EXPECT_EQ(w().frmChart->title(), QStringLiteral("Gamma Curve for Gamma = 1.0"));
    EXPECT_EQ(w().Curve->pen().color(), QColor(Qt::black));
    EXPECT_EQ(w().Curve->count(), 1024);
}

TEST_F(GammaWindow, NewWithUnsavedChangesDoesNotAsk) {
    threeCurves();
    ASSERT_TRUE(w().DataChanged);
    w().GammaFileName = QStringLiteral("/somewhere/old.gma");
    click(w().cmdNew);
    EXPECT_TRUE(gp->shown.empty());
    EXPECT_TRUE(w().GammaFileName.isEmpty());
    EXPECT_EQ(cell(100, 1), QStringLiteral("0099"));
}

TEST_F(GammaWindow, DisplayGammaGivesTheUnroundedExponent) {
    w().chkDSPRef->setChecked(true);
    EXPECT_FALSE(w().cmdBrowse->isHidden());
    w().txtGamma->setText(QStringLiteral("3"));
    click(w().cmdCompute);
    EXPECT_EQ(w().txtDSPgamma->text(), QStringLiteral("2.2"));
    EXPECT_EQ(w().txtGamma->text(), QStringLiteral("1.0"));
    const double g = 1 / (2.2 * 0.45);
    for (int i = 0; i < 1024; ++i)
        ASSERT_EQ(cell(i + 1, 2), core::FormatCode(roundEven(1023 * std::pow(i / 1023.0, g))));
    w().chkDSPRef->setChecked(false);
    EXPECT_TRUE(w().cmdBrowse->isHidden());
}

TEST_F(GammaWindow, EnterInScalarGammaComputes) {
    w().OptColor[3]->setChecked(true);
    typeInto(w().txtGamma, QStringLiteral("0.5"));
    EXPECT_EQ(cell(257, 3), QStringLiteral("0512"));
    EXPECT_EQ(cell(257, 1), QString());
    EXPECT_EQ(w().Curve->pen().color(), QColor(0, 0, 255));
}

TEST_F(GammaWindow, SourceGammaChangeEmptiesDisplayGamma) {
    w().txtDSPgamma->setText(QStringLiteral("2.2"));
    w().txtSG->setText(QStringLiteral("0.5"));
    EXPECT_DOUBLE_EQ(w().SourceGamma, 0.5);
    EXPECT_TRUE(w().txtDSPgamma->text().isEmpty());
    w().chkDSPRef->setChecked(true);
    click(w().cmdCompute);
    EXPECT_EQ(w().txtDSPgamma->text(), QStringLiteral("2.0"));
}

// SourceGamma 0.8: the display gamma 1 / 0.8 is a tie at one decimal; the format shows "1.3".
TEST_F(GammaWindow, DisplayGammaOfATieRoundsAsTheFormat) {
    w().txtSG->setText(QStringLiteral("0.8"));
    w().chkDSPRef->setChecked(true);
    click(w().cmdCompute);
    EXPECT_EQ(w().txtDSPgamma->text(), QStringLiteral("1.3"));
    EXPECT_EQ(w().txtGamma->text(), QStringLiteral("1.0")); // 1 / (1.3 x 0.8) = 0.96
}

TEST_F(GammaWindow, ZeroSourceGammaIsShownAsARunTimeError) {
    w().txtSG->setText(QStringLiteral("0"));
    w().chkDSPRef->setChecked(true);
    click(w().cmdCompute);
    ASSERT_EQ(gp->messageTexts().size(), 1);
    EXPECT_EQ(gp->messageTexts()[0],
              QStringLiteral("Run-time error '11':\r\n\r\nDivision by zero"));
}

TEST_F(GammaWindow, LoadButtonDoesNothing) {
    threeCurves();
    const QStringList before = snapshot();
    const size_t shown = gp->shown.size();
    click(w().cmdLoad);
    EXPECT_EQ(snapshot(), before);
    EXPECT_EQ(gp->shown.size(), shown);
    EXPECT_EQ(gp->beeps, 0);
    EXPECT_EQ(w().cmdLoad->text(), QStringLiteral("Load"));
}

TEST_F(GammaWindow, CellEditorRefusesOutOfRangeWithABeepAndTakesTheBounds) {
    click(w().cmdNew);
    const QString before = cell(6, 2);
    at(10, [&] {
        EXPECT_FALSE(w().txtHiLite->isHidden());
        EXPECT_EQ(w().txtHiLite->text(), before);
        typeInto(w().txtHiLite, QStringLiteral("1024"));
        EXPECT_EQ(gp->beeps, 1);
        EXPECT_FALSE(w().txtHiLite->isHidden());
        EXPECT_EQ(cell(6, 2), before);
        typeInto(w().txtHiLite, QStringLiteral("-1"));
        EXPECT_EQ(gp->beeps, 2);
        typeInto(w().txtHiLite, QStringLiteral("1023"));
    });
    doubleClickCell(6, 2);
    EXPECT_TRUE(w().txtHiLite->isHidden());
    EXPECT_EQ(cell(6, 2), QStringLiteral("1023"));
    // Leaving the box closes it too; the text goes in as typed.
    at(10, [&] {
        w().txtHiLite->setText(QStringLiteral("0"));
        QFocusEvent out(QEvent::FocusOut);
        QCoreApplication::sendEvent(w().txtHiLite, &out);
    });
    doubleClickCell(7, 3);
    EXPECT_EQ(cell(7, 3), QStringLiteral("0"));
    EXPECT_EQ(gp->beeps, 2);
    // Not formatted, and DataChanged untouched.
    w().DataChanged = false;
    at(10, [&] { typeInto(w().txtHiLite, QStringLiteral("5")); });
    doubleClickCell(8, 1);
    EXPECT_EQ(cell(8, 1), QStringLiteral("5"));
    EXPECT_FALSE(w().DataChanged);
}

TEST_F(GammaWindow, EditorSitsOverTheCell) {
    click(w().cmdNew);
    at(10, [&] {
        const QRect r = w().FG1->visualRect(w().Grid().index(3, 1));
        EXPECT_EQ(w().txtHiLite->size(), r.size());
        EXPECT_EQ(w().txtHiLite->pos(), w().FG1->viewport()->mapTo(w().Frame1, r.topLeft()));
        EXPECT_EQ(w().txtHiLite->alignment(), Qt::AlignCenter);
        typeInto(w().txtHiLite, QStringLiteral("12"));
    });
    doubleClickCell(3, 1);
    EXPECT_EQ(cell(3, 1), QStringLiteral("12"));
}

TEST_F(GammaWindow, ClickOnGreenHeadChartsGreenInGreen) {
    threeCurves();
    QHeaderView* head = w().FG1->horizontalHeader();
    const QPoint p(head->sectionViewportPosition(2) + head->sectionSize(2) / 2, head->height() / 2);
    QTest::mouseClick(head->viewport(), Qt::LeftButton, {}, p);
    EXPECT_EQ(w().Curve->pen().color(), QColor(0, 255, 0));
    EXPECT_EQ(w().Curve->pen().style(), Qt::SolidLine);
    EXPECT_EQ(w().FG1->currentIndex().column(), 2);
    EXPECT_FALSE(w().MSC1->isHidden());
    ASSERT_EQ(w().ChartData.size(), size_t(1024));
    for (int i = 0; i < 1024; ++i) {
        ASSERT_FLOAT_EQ(w().ChartData[size_t(i)][0], float(i / 1023.0));
        ASSERT_FLOAT_EQ(w().ChartData[size_t(i)][1], float(core::Val(cell(i + 1, 2)) / 1023.0));
        ASSERT_DOUBLE_EQ(w().Curve->at(i).y(), double(w().ChartData[size_t(i)][1]));
    }
    // "Address" charts red in black; "Red" in red.
    w().FG1_HeadClick(0);
    EXPECT_EQ(w().Curve->pen().color(), QColor(Qt::black));
    EXPECT_FLOAT_EQ(w().ChartData[600][1], float(core::Val(cell(601, 1)) / 1023.0));
    w().FG1_HeadClick(1);
    EXPECT_EQ(w().Curve->pen().color(), QColor(255, 0, 0));
}

TEST_F(GammaWindow, ChartOfAllThreeColoursTogether) {
    threeCurves();
    w().chkAllColors->setChecked(true);
    EXPECT_FALSE(w().Curve->isVisible());
    for (int c = 0; c < 3; ++c) {
        EXPECT_TRUE(w().RGBCurves[size_t(c)]->isVisible());
        ASSERT_EQ(w().RGBCurves[size_t(c)]->count(), 1024);
        EXPECT_DOUBLE_EQ(w().RGBCurves[size_t(c)]->at(300).y(),
                         core::Val(cell(301, c + 1)) / 1023.0);
    }
    EXPECT_EQ(w().RGBCurves[1]->pen().color(), QColor(0, 255, 0));
    w().chkAllColors->setChecked(false);
    EXPECT_TRUE(w().Curve->isVisible());
    EXPECT_FALSE(w().RGBCurves[0]->isVisible());
}

// The check boxes run their Click through an accessibility tool's "Toggle" as by the mouse.
TEST_F(GammaWindow, CheckBoxesByTheAccessibilityToggle) {
    threeCurves();
    ASSERT_TRUE(accessibleToggle(w().chkAllColors));
    EXPECT_FALSE(w().Curve->isVisible());
    EXPECT_TRUE(w().RGBCurves[0]->isVisible());
    ASSERT_TRUE(accessibleToggle(w().chkAllColors));
    EXPECT_TRUE(w().Curve->isVisible());
    w().chkDSPRef->setChecked(false);
    ASSERT_TRUE(w().cmdBrowse->isHidden());
    ASSERT_TRUE(accessibleToggle(w().chkDSPRef));
    EXPECT_FALSE(w().cmdBrowse->isHidden());
    ASSERT_TRUE(accessibleToggle(w().chkDSPRef));
    EXPECT_FALSE(w().chkDSPRef->isChecked());
    EXPECT_TRUE(w().cmdBrowse->isHidden());
}

TEST_F(GammaWindow, DoneAsksOnlyWhenChangedAndHides) {
    click(w().cmdExit);
    EXPECT_TRUE(w().isHidden());
    EXPECT_TRUE(gp->shown.empty());
    ui::ShowGMA();
    threeCurves();
    gp->answers.push_back(platform::vbCancel);
    click(w().cmdExit);
    EXPECT_FALSE(w().isHidden());
    ASSERT_EQ(gp->messageTexts().size(), 1);
    EXPECT_EQ(gp->messageTexts()[0],
              QStringLiteral("The data has changed. Do you wish to save it?"));
    EXPECT_EQ(gp->shown.back().buttons, int(platform::vbYesNoCancel));
    gp->answers.push_back(platform::vbNo);
    click(w().cmdExit);
    EXPECT_TRUE(w().isHidden());
    EXPECT_EQ(gp->ends, 0);
    EXPECT_FALSE(platform::ProgramEnded());
    // Yes saves; the window stays until the next "Done".
    ui::ShowGMA();
    const QString file = QDir(home()).filePath(QStringLiteral("done.gma"));
    w().GammaFileName = file;
    gp->answers.push_back(platform::vbYes);
    click(w().cmdExit);
    EXPECT_TRUE(QFile::exists(file));
    EXPECT_FALSE(w().DataChanged);
    EXPECT_FALSE(w().isHidden());
    click(w().cmdExit);
    EXPECT_TRUE(w().isHidden());
    EXPECT_EQ(gp->messageTexts().size(), 3);
}

TEST_F(GammaWindow, CloseBoxEndsTheProgramUnlikeDone) {
    w().close();
    EXPECT_EQ(gp->ends, 1);
    EXPECT_TRUE(platform::ProgramEnded());
}

TEST_F(GammaWindow, CloseBoxWithChangesAsks) {
    threeCurves();
    gp->answers.push_back(platform::vbCancel);
    w().close();
    EXPECT_FALSE(w().isHidden());
    EXPECT_EQ(gp->ends, 0);
    // Yes saves and closes the window, the program goes on.
    const QString file = QDir(home()).filePath(QStringLiteral("c.gma"));
    w().GammaFileName = file;
    gp->answers.push_back(platform::vbYes);
    w().close();
    EXPECT_TRUE(w().isHidden());
    EXPECT_EQ(gp->ends, 0);
    EXPECT_TRUE(QFile::exists(file));
    // No ends the program.
    ui::ShowGMA();
    w().DataChanged = true;
    gp->answers.push_back(platform::vbNo);
    w().close();
    EXPECT_EQ(gp->ends, 1);
}
