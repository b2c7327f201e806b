// Choosing what to load: the selection dialog, the working list FileList.frl and the two list
// buttons of the advanced options.

#include "common/LoaderFixture.h"

#include "app/Tools.h"

using namespace telvo;
using namespace telvo::test;

namespace {

class Lists : public LoaderFixture {
protected:
    QByteArray workingList() const {
        const QString path = platform::FindFileNoCase(home(), QStringLiteral("FileList.frl"));
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }
    int workingListFiles() const {
        int n = 0;
        for (const QString& e : QDir(home()).entryList(QDir::Files))
            if (e.compare(QStringLiteral("filelist.frl"), Qt::CaseInsensitive) == 0)
                ++n;
        return n;
    }
    QStringList titles() const {
        QStringList out;
        for (const auto& s : scripted->shown)
            if (s.kind != QLatin1String("MessageBox"))
                out << s.kind + QStringLiteral(":") + s.text;
        return out;
    }
};

TEST_F(Lists, MultipleFirstCancelledLeavesTheEarlierListAsItWas) {
    writeHomeFile(QStringLiteral("FileList.frl"), "old.frk\r\n");
    EXPECT_EQ(ui::BuildFileList(true), -2);
    EXPECT_EQ(workingList(), QByteArray("old.frk\r\n"));
    EXPECT_EQ(titles(), QStringList{QStringLiteral(
                            "Open:Select File to Load, Cancel to Stop Selection Process")});
}

TEST_F(Lists, UpperCaseExtensionCountsAsFirmware) {
    scripted->paths = {QStringLiteral("C:\\fw\\A.FRK")};
    EXPECT_EQ(ui::BuildFileList(true), 1);
    EXPECT_EQ(workingList(), QByteArray("C:\\fw\\A.FRK\r\n"));
    EXPECT_EQ(workingListFiles(), 1);
}

TEST_F(Lists, AnyOtherExtensionIsReadAsAList) {
    writeHomeFile(QStringLiteral("a.txt"), "one.frk\r\ntwo.frk\r\n");
    scripted->paths = {homeFile(QStringLiteral("a.txt"))};
    EXPECT_EQ(ui::BuildFileList(true), 2);
    EXPECT_EQ(workingList(), QByteArray("one.frk\r\ntwo.frk\r\n"));
}

TEST_F(Lists, ThreeLinesGiveThreeInOrderEachEndingInCrLf) {
    writeHomeFile(QStringLiteral("set.frl"), "c.frk\r\n  a.frk\nb.frk");
    scripted->paths = {homeFile(QStringLiteral("set.frl"))};
    EXPECT_EQ(ui::BuildFileList(true), 3);
    EXPECT_EQ(workingList(), QByteArray("c.frk\r\n  a.frk\r\nb.frk\r\n"));
}

TEST_F(Lists, MultipleSelectionAppendsAndFollowsTheFolder) {
    writeHomeFile(QStringLiteral("set.frl"), "x.frk\r\n");
    scripted->paths = {QStringLiteral("C:\\a\\one.frk"), homeFile(QStringLiteral("set.frl")),
                       QStringLiteral("C:\\a\\one.frk")};
    EXPECT_EQ(ui::BuildFileList(true), 3);
    EXPECT_EQ(workingList(), QByteArray("C:\\a\\one.frk\r\nx.frk\r\nC:\\a\\one.frk\r\n"));
    EXPECT_EQ(titles().size(), 4); // three choices and the cancel that ends them
}

TEST_F(Lists, AListThatWontOpenIsMinusTwoWithItsMessage) {
    writeHomeFile(QStringLiteral("FileList.frl"), "old.frk\r\n");
    const QString missing = homeFile(QStringLiteral("missing.frl"));
    scripted->paths = {missing};
    EXPECT_EQ(ui::BuildFileList(true), -2);
    ASSERT_EQ(scripted->messageTexts().size(), 1);
    EXPECT_TRUE(scripted->messageTexts()[0].startsWith(
        QStringLiteral("BuildFileList Multiple Files: Error opening frk file for input\r\n") +
        missing + QStringLiteral("\r\n")));
    EXPECT_EQ(workingList(), QByteArray("old.frk\r\n"));
}

TEST_F(Lists, AnEmptyChosenListIsMinusTwo) {
    writeHomeFile(QStringLiteral("empty.frl"), "");
    scripted->paths = {homeFile(QStringLiteral("empty.frl"))};
    EXPECT_EQ(ui::BuildFileList(true), -2);
}

TEST_F(Lists, SingleEmptyResultLeavesLastFirmwareFile) {
    ui::FW().LastFirmwareFile = QStringLiteral("before.frk");
    EXPECT_EQ(ui::BuildFileList(false), -2);
    EXPECT_EQ(ui::FW().LastFirmwareFile, QStringLiteral("before.frk"));
    EXPECT_EQ(titles(), QStringList{QStringLiteral("Open:")});
}

TEST_F(Lists, SingleTakesAListAsFirmware) {
    scripted->paths = {QStringLiteral("C:\\fw\\set.frl")};
    EXPECT_EQ(ui::BuildFileList(false), 1);
    EXPECT_EQ(workingList(), QByteArray("C:\\fw\\set.frl\r\n"));
    EXPECT_EQ(ui::FW().LastFirmwareFile, QStringLiteral("C:\\fw\\set.frl"));
}

TEST_F(Lists, RebuildReplacesTheListWhateverItsCase) {
    writeHomeFile(QStringLiteral("FILELIST.FRL"), "old.frk\r\n");
    scripted->paths = {QStringLiteral("new.frk")};
    EXPECT_EQ(ui::BuildFileList(false), 1);
    EXPECT_EQ(workingListFiles(), 1);
    EXPECT_EQ(workingList(), QByteArray("new.frk\r\n"));
}

TEST_F(Lists, SelectionEmptiesTheLoadersStatusAndTitlesByMode) {
    ui::ldr().lblMessage->setText(QStringLiteral("something"));
    EXPECT_EQ(ui::SelectFirmwareFile(QStringLiteral("C:\\")), QString());
    EXPECT_EQ(ui::ldr().lblMessage->text(), QString());
    ui::SelectFirmwareFile(QStringLiteral("C:\\"), QString(), 0);
    ui::SelectFirmwareFile(QStringLiteral("C:\\"), QStringLiteral("T"), 2);
    EXPECT_EQ(titles(), (QStringList{QStringLiteral("Open:Select file to load"),
                                     QStringLiteral("Open:"), QStringLiteral("Save:T")}));
}

TEST_F(Lists, SaveWithoutAWorkingListReportsAndLeavesTheTargetAlone) {
    writeHomeFile(QStringLiteral("target.frl"), "keep\r\n");
    scripted->paths = {homeFile(QStringLiteral("target.frl"))};
    ui::cmdSaveFileList_Click();
    EXPECT_EQ(titles(), QStringList{QStringLiteral("Save:Save File As...")});
    EXPECT_TRUE(
        ui::App().AlertText.startsWith(QStringLiteral("There is no current file list to save")));
    EXPECT_EQ(readHomeFile(QStringLiteral("target.frl")), QByteArray("keep\r\n"));
}

TEST_F(Lists, SaveCopiesTheWorkingListOverTheTarget) {
    writeHomeFile(QStringLiteral("FileList.frl"), "a.frk\r\nb.frk\r\n");
    writeHomeFile(QStringLiteral("target.frl"), "old\r\n");
    scripted->paths = {homeFile(QStringLiteral("target.frl"))};
    ui::cmdSaveFileList_Click();
    EXPECT_EQ(readHomeFile(QStringLiteral("target.frl")), QByteArray("a.frk\r\nb.frk\r\n"));
}

TEST_F(Lists, SaveIntoAFolderThatIsNotThereIsOnlyLogged) {
    writeHomeFile(QStringLiteral("FileList.frl"), "a.frk\r\n");
    scripted->paths = {homeFile(QStringLiteral("no/such/folder/t.frl"))};
    ui::cmdSaveFileList_Click();
    EXPECT_TRUE(scripted->messageTexts().isEmpty());
    EXPECT_TRUE(
        logLines().last().startsWith(QStringLiteral("The file list could not be copied to ")));
}

TEST_F(Lists, DeleteRemovesTheChosenFileWithoutAsking) {
    writeHomeFile(QStringLiteral("old.frl"), "x\r\n");
    scripted->paths = {homeFile(QStringLiteral("old.frl"))};
    ui::cmdDelFileList_Click();
    EXPECT_FALSE(QFile::exists(homeFile(QStringLiteral("old.frl"))));
    EXPECT_EQ(titles(), QStringList{QStringLiteral("Open:Select File to be deleted")});
    EXPECT_TRUE(scripted->messageTexts().isEmpty());
    ui::cmdDelFileList_Click(); // cancelled: nothing happens
}

} // namespace
