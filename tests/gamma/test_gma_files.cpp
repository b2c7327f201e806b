// "Telvo Hesta Gamma Control Loader" and its files: names, saving, opening, the reference file,
// the exports, with the scripted platform answering dialogs and questions.

#include "GammaWindow.h"

using namespace telvo;
using namespace telvo::test;

TEST_F(GammaWindow, EnterOnAnEmptyNameSavesNothing) {
    threeCurves();
    at(10, [&] {
        EXPECT_FALSE(w().frmGIN->isHidden());
        EXPECT_TRUE(w().txtGIN->text().isEmpty());
        typeInto(w().txtGIN, QString());
    });
    click(w().cmdSaveAs);
    EXPECT_TRUE(w().frmGIN->isHidden());
    EXPECT_TRUE(gp->shown.empty());
    EXPECT_FALSE(QDir(gammaDir()).exists());
    EXPECT_TRUE(w().GammaFileName.isEmpty());
    EXPECT_TRUE(w().DataChanged);
}

TEST_F(GammaWindow, CancelOfTheNameSavesNothing) {
    at(10, [&] {
        w().txtGIN->setText(QStringLiteral("named"));
        click(w().cmdCancel);
    });
    click(w().cmdSaveAs);
    EXPECT_TRUE(w().txtGIN->text().isEmpty());
    EXPECT_TRUE(gp->shown.empty());
}

TEST_F(GammaWindow, SavingCreatesTheGammaFolderAndOpeningStartsInTheProgramFolder) {
    ASSERT_FALSE(QDir(gammaDir()).exists());
    gp->paths.push_back(QString()); // the open dialog: cancelled
    click(w().cmdOpen);
    ASSERT_EQ(gp->dirs.size(), 1);
    EXPECT_EQ(gp->dirs[0], QDir(home()).filePath(QStringLiteral("*.gma")));
    EXPECT_EQ(gp->filters[0], QStringLiteral("Gamma Files (*.gma)|(*.gma)"));

    threeCurves();
    const QString file = QDir(gammaDir()).filePath(QStringLiteral("lcd.gma"));
    gp->paths.push_back(file);
    at(10, [&] {
        w().txtGIN->setText(QStringLiteral("lcd"));
        click(w().cmdDir);
    });
    click(w().cmdSaveAs);
    EXPECT_TRUE(QDir(gammaDir()).exists());
    ASSERT_EQ(gp->dirs.size(), 2);
    EXPECT_EQ(gp->dirs[1], QDir(gammaDir()).filePath(QStringLiteral("lcd")));
    EXPECT_EQ(gp->filters[1], QStringLiteral("Gamma Files (*.gma)|*.gma"));
    EXPECT_EQ(w().GammaFileName, file);
    EXPECT_EQ(w().GammaName, QStringLiteral("lcd"));
    EXPECT_FALSE(w().DataChanged);
    EXPECT_TRUE(QFile::exists(file));

    gp->paths.push_back(QString());
    click(w().cmdOpen);
    EXPECT_EQ(gp->dirs[2], QDir(gammaDir()).filePath(QStringLiteral("*.gma")));
}

// A name typed without extension saves as a .gma file, which Open's filter then shows; an
// existing NAME.gma is asked about as any other.
TEST_F(GammaWindow, NameWithoutExtensionSavesAsAGmaFile) {
    threeCurves();
    QDir(home()).mkpath(QStringLiteral("Gamma"));
    gp->paths.push_back(QDir(gammaDir()).filePath(QStringLiteral("plain")));
    w().GammaName = QStringLiteral("plain");
    w().SaveGamma();
    const QString file = QDir(gammaDir()).filePath(QStringLiteral("plain.gma"));
    EXPECT_TRUE(QFile::exists(file));
    EXPECT_FALSE(QFile::exists(QDir(gammaDir()).filePath(QStringLiteral("plain"))));
    EXPECT_EQ(w().GammaFileName, file);
    EXPECT_EQ(QDir(gammaDir()).entryList({QStringLiteral("*.gma")}),
              QStringList{QStringLiteral("plain.gma")});
    w().GammaFileName.clear();
    gp->paths.push_back(QDir(gammaDir()).filePath(QStringLiteral("plain")));
    gp->answers.push_back(platform::vbNo);
    w().SaveGamma();
    EXPECT_EQ(gp->messageTexts(),
              QStringList{file + QStringLiteral("\r\nCurrently exists, Overwrite?")});
    // A name with an extension of its own keeps it.
    gp->paths.push_back(QDir(gammaDir()).filePath(QStringLiteral("lcd.txt")));
    w().SaveGamma();
    EXPECT_TRUE(QFile::exists(QDir(gammaDir()).filePath(QStringLiteral("lcd.txt"))));
}

TEST_F(GammaWindow, SaveThenOpenReproducesTheTableAndTheValues) {
    threeCurves();
    w().chkDSPRef->setChecked(true);
    w().txtDSPgamma->setText(QStringLiteral("1.6"));
    w().DSPrefFile = QStringLiteral("/ref/lcd.txt");
    QStringList cells;
    for (int r = 1; r <= 1024; ++r)
        for (int c = 1; c <= 3; ++c)
            cells << cell(r, c);
    const QString file = QDir(home()).filePath(QStringLiteral("t.gma"));
    w().GammaFileName = file;
    click(w().cmdSave);
    EXPECT_TRUE(gp->shown.empty()); // a named table saves without a dialog

    click(w().cmdNew);
    gp->paths.push_back(file);
    click(w().cmdOpen);
    QStringList back;
    for (int r = 1; r <= 1024; ++r)
        for (int c = 1; c <= 3; ++c)
            back << cell(r, c);
    EXPECT_EQ(back, cells);
    EXPECT_EQ(w().txtGamma->text(), QStringLiteral("2.2"));
    EXPECT_EQ(w().txtDSPgamma->text(), QStringLiteral("1.6"));
    EXPECT_EQ(w().ColorOption(), 3);
    EXPECT_TRUE(w().chkDSPRef->isChecked());
    EXPECT_FALSE(w().cmdBrowse->isHidden());
    EXPECT_EQ(w().DSPrefFile, QStringLiteral("/ref/lcd.txt"));
    EXPECT_EQ(w().GammaFileName, file);
    EXPECT_EQ(w().Curve->pen().color(), QColor(0, 0, 255));
    EXPECT_FALSE(w().MSC1->isHidden());
}

TEST_F(GammaWindow, ExistingFileIsOverwrittenOnlyWhenAllowed) {
    QDir(home()).mkpath(QStringLiteral("Gamma"));
    const QString file = QDir(gammaDir()).filePath(QStringLiteral("x.gma"));
    QFile f(file);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write("old");
    f.close();
    click(w().cmdNew);
    w().GammaName = QStringLiteral("x");
    gp->paths.push_back(file);
    gp->answers.push_back(platform::vbNo);
    w().SaveGamma();
    ASSERT_EQ(gp->messageTexts().size(), 1);
    EXPECT_EQ(gp->messageTexts()[0], file + QStringLiteral("\r\nCurrently exists, Overwrite?"));
    EXPECT_EQ(gp->shown.back().buttons, int(platform::vbYesNo));
    EXPECT_EQ(readHomeFile(QStringLiteral("Gamma/x.gma")), QByteArray("old"));
    EXPECT_TRUE(w().GammaFileName.isEmpty());
    gp->paths.push_back(file);
    gp->answers.push_back(platform::vbYes);
    w().SaveGamma();
    EXPECT_TRUE(readHomeFile(QStringLiteral("Gamma/x.gma")).startsWith("Scalar Gamma=1.0\r\n"));
}

TEST_F(GammaWindow, ReferenceFileThroughBrowseAndDataMode) {
    QDir(home()).mkpath(QStringLiteral("Gamma"));
    writeHomeFile(QStringLiteral("Gamma/lcd.txt"),
                  "' my display\r\nFunctionRed=X ' "
                  "linear\r\nFunctionGreen=CopyRed\r\nFunctionBlue=Table\r\n\r\n");
    w().chkDSPRef->setChecked(true);
    gp->paths.push_back(QDir(gammaDir()).filePath(QStringLiteral("lcd.txt")));
    click(w().cmdBrowse);
    EXPECT_EQ(gp->dirs[0], QDir(gammaDir()).filePath(QStringLiteral("*")));
    EXPECT_EQ(gp->filters[0], QStringLiteral("Reference Files (*.*)|(*.*)"));
    EXPECT_EQ(w().txtDSPgamma->text(), QStringLiteral("Data"));
    EXPECT_EQ(w().DSPrefFile, QDir(gammaDir()).filePath(QStringLiteral("lcd.txt")));
    EXPECT_DOUBLE_EQ(w().Ref.DSPrefData[512][1], 512);
    EXPECT_DOUBLE_EQ(w().Ref.DSPrefData[512][2], 0);
    w().OptColor[2]->setChecked(true);
    click(w().cmdCompute);
    // Closed form on the curve the file gave: local gamma d, corrected by the source gamma.
    for (int i = 0; i < 1024; ++i) {
        const double x = i / 1023.0;
        const double r = w().Ref.DSPrefData[size_t(i)][1] / 1023.0;
        int expected = 0;
        if (r != 0 && x != 0)
            expected = x == 1
                           ? 1023
                           : roundEven(1023 * std::pow(x, 1 / (std::log(r) / std::log(x) * 0.45)));
        ASSERT_EQ(cell(i + 1, 2), core::FormatCode(expected)) << i;
        ASSERT_NEAR(expected, 1023 * std::pow(x, 1 / 0.45), 0.5 + 1e-9);
    }
    EXPECT_EQ(cell(600, 1), QString());
}

TEST_F(GammaWindow, ExportsWriteCalAndCube) {
    threeCurves();
    const QString cal = QDir(home()).filePath(QStringLiteral("t.cal"));
    const QString cube = QDir(home()).filePath(QStringLiteral("t.cube"));
    gp->paths.push_back(cal);
    click(w().cmdExportCal);
    gp->paths.push_back(cube);
    click(w().cmdExportCube);
    EXPECT_TRUE(readHomeFile(QStringLiteral("t.cal")).startsWith("CAL\n"));
    EXPECT_TRUE(readHomeFile(QStringLiteral("t.cube")).contains("LUT_1D_SIZE 1024\n"));
    EXPECT_EQ(gp->dirs[0], QDir(home()).filePath(QStringLiteral("Gamma.cal")));
}

TEST_F(GammaWindow, OpenedFileInLowerCaseWithBlanksSetsScalarGamma) {
    writeHomeFile(QStringLiteral("lower.gma"),
                  "gamma = 1.5\r\ncoloroption = 2\r\ngreen = 0001 0002\r\n");
    gp->paths.push_back(QDir(home()).filePath(QStringLiteral("lower.gma")));
    click(w().cmdOpen);
    EXPECT_EQ(w().txtGamma->text(), QStringLiteral("1.5"));
    EXPECT_TRUE(w().txtDSPgamma->text().isEmpty());
    EXPECT_EQ(w().ColorOption(), 2);
    EXPECT_EQ(cell(1, 2), QStringLiteral("0001"));
    EXPECT_EQ(cell(2, 2), QStringLiteral("0002"));
    EXPECT_EQ(cell(3, 2), QString());
    EXPECT_EQ(w().Curve->pen().color(), QColor(0, 255, 0));
    EXPECT_EQ(w().frmChart->title(), QStringLiteral("Gamma Curve for Gamma = 1.5"));
}

TEST_F(GammaWindow, OpenedFileNamesItsReferenceButDataModeWorksOnEmptyData) {
    writeHomeFile(QStringLiteral("ref.gma"),
                  "Scalar Gamma=1.0\r\nDisplay Gamma=Data\r\nColorOption=0\r\nUseRefData=1\r\n"
                  "DSPrefData=/nowhere/lcd.txt\r\nRED=0005\r\n");
    gp->paths.push_back(QDir(home()).filePath(QStringLiteral("ref.gma")));
    click(w().cmdOpen);
    EXPECT_EQ(w().DSPrefFile, QStringLiteral("/nowhere/lcd.txt"));
    EXPECT_TRUE(w().chkDSPRef->isChecked());
    EXPECT_FALSE(w().cmdBrowse->isHidden());
    click(w().cmdCompute);
    for (int row = 1; row <= 1024; ++row)
        for (int c = 1; c <= 3; ++c)
            ASSERT_EQ(cell(row, c), QStringLiteral("0000")) << row;
    EXPECT_TRUE(gp->messageTexts().isEmpty());
}

TEST_F(GammaWindow, FileThatCannotBeReadIsARunTimeError) {
    gp->paths.push_back(QDir(home()).filePath(QStringLiteral("missing.txt")));
    click(w().cmdBrowse); // a path that doesn't exist: nothing happens
    EXPECT_TRUE(gp->messageTexts().isEmpty());
    QString missing = QDir(home()).filePath(QStringLiteral("missing.txt"));
    EXPECT_THROW(w().OpenDSPref(missing), core::RuntimeError);
    w().GammaFileName = QDir(home()).filePath(QStringLiteral("sub/none.gma"));
    EXPECT_THROW(w().OpenGamma(), core::RuntimeError);
}
