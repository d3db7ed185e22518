// The main window driven as a user drives it: the first screen, the tree and its pages, the block lists
// with their popup, the hex viewer, the File commands and the wait state.
#include <QAction>
#include <QCloseEvent>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QProgressBar>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QStatusBar>
#include <QTableView>
#include <QTimer>
#include <QtTest>

#include <unistd.h>

#include <functional>

#include "BlockListModel.h"
#include "FileDialogs.h"
#include "GuiTestEnv.h"
#include "actions/mStart.h"
#include "base/FileLock.h"
#include "common/Bytes.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "frmHexView.h"
#include "frmStart.h"
#include "mMenu.h"
#include "uLicense.h"
#include "uScrollPicture.h"
#include "support/Services.h"
#include "viewers/mRadarCol.h"

using namespace quillet;
using guitest::Node;
using guitest::NodeTexts;

namespace {

QStringList RowTexts(QTableView* list, int row) {
    QStringList texts;
    for (int column = 1; column <= 3; ++column) texts << list->model()->index(row, column).data().toString();
    return texts;
}
void SelectRows(QTableView* list, std::initializer_list<int> rows) {
    list->clearSelection();
    for (int row : rows)
        list->selectionModel()->select(list->model()->index(row, 0),
                                       QItemSelectionModel::Select | QItemSelectionModel::Rows);
}

const QString kNewTitle = "Quillet Patching Tool - New patch";

// Runs command and answers the modal message box it shows, as a user would:
// "icon|text" of the box (QMessageBox::Warning is 2), or "" if none came up.
QString AnswerBox(const std::function<void()>& command) {
    QString seen;
    QTimer::singleShot(0, [&seen] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            seen = QString::number(box->icon()) + "|" + box->text();
            box->done(QMessageBox::Ok);
        }
    });
    command();
    return seen;
}

}  // namespace

class tst_frmStart : public QObject {
    Q_OBJECT

private:
    guitest::Environment env;
    frmStart* form = nullptr;
    WaitHooks formHooks;  // the window's own, before the test captures the messages
    QTableView* Gumps() { return form->lvPage[4]; }

private Q_SLOTS:
    void initTestCase() {
        form = &frmStart::Instance();
        form->show();
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
        PatchNew();
        MenuRefresh();
        formHooks = CurrentWaitHooks();
        env.CaptureMessages();
    }

    void firstScreen() {
        QCOMPARE(form->windowTitle() + "|" + form->lblTitle->text(), kNewTitle + "| Quillet");
        QVERIFY(form->pageLicense->isVisible() && !form->pageMap->isVisible() && !form->pgProgress->isVisible());
        for (QTableView* list : form->lvPage) QVERIFY(!list->isVisible());
        QVERIFY(form->twMenu->topLevelItem(0)->text(0) == "Patch" && form->twMenu->topLevelItem(0)->isExpanded());
        QCOMPARE(NodeTexts(form->twMenu),
                 QStringList({"Map (0)", "Statics (0)", "Art (0)", "Anim (0)", "Sound (0)", "Texmaps (0)", "Gumps (0)",
                              "Multis (0)", "Skills (0)", "Tiledata (0)", "Animdata (0)", "Hues (0)", "Light (0)",
                              "Radarcol (0)"}));
        QCOMPARE(form->pageLicense->lblVersion->text(), QString("Version 1.0"));
        QCOMPARE(VersionLine(1, 0, 7), QString("Version 1.0 (Internal build 7)"));
        QStringList entries;  // the File menu in its order, with its keys
        for (QAction* entry : form->mnuFile->actions())
            entries << (entry->isSeparator() ? QString("-") : entry->text()) +
                           (entry->shortcut().isEmpty() ? QString() : " " + entry->shortcut().toString());
        QCOMPARE(entries.join("|"), QString("New|Open Ctrl+O|-|Save Ctrl+S|Save As|-|&Import|&Export|Compare...|"
                                            "Import gump...|Import art...|-|Quit Ctrl+Q"));
        // A screen too small for the whole map page: the window fits the screen.
        QVERIFY(form->screen()->availableGeometry().contains(form->frameGeometry()));
        guitest::Screenshot(form, "first-screen");
    }

    void treeCountsAndPages() {
        StoreBlock(12, 0, 4, 0x00400030, ByteArray{1, 2, 3, 4});
        StoreBlock(12, 26, -1, -1, ByteArray{});
        StoreBlock(12, 4096, -5, 0, ByteArray{});
        RecountBlocks(12);
        MenuRefresh();
        QVERIFY(NodeTexts(form->twMenu).contains("Gumps (3)"));
        form->twMenu->setCurrentItem(Node(form->twMenu, "P12"));  // the list page
        QCOMPARE(form->lblTitle->text(), QString(" Gumps"));
        QVERIFY(Gumps()->isVisible() && !form->pageLicense->isVisible() && Gumps()->isColumnHidden(0));
        QVERIFY(Gumps()->model()->headerData(1, Qt::Horizontal).toString() == "ID" &&
                Gumps()->model()->rowCount() == 3);
        QCOMPARE(RowTexts(Gumps(), 0) + RowTexts(Gumps(), 1),
                 QStringList({"0", "4", "400030", "1A", "0", "FFFFFFFF"}));  // forms: BlockRowsTest
        QCOMPARE(Gumps()->model()->index(1, 0).data(BlockListModel::KeyRole).toString(), QString("A26"));
        guitest::Screenshot(form, "gumps-list");
        form->twMenu->setCurrentItem(Node(form->twMenu, "P0"));
        QVERIFY(form->pageMap->isVisible() && !Gumps()->isVisible());
        form->twMenu->setCurrentItem(Node(form->twMenu, "PATCHES"));
        QVERIFY(form->pageLicense->isVisible() && form->lblTitle->text() == " Quillet");
        form->twMenu->setCurrentItem(Node(form->twMenu, "P12"));
        MenuRefresh();  // keeps the page, selects no node
        QVERIFY(Gumps()->isVisible() && form->twMenu->selectedItems().isEmpty());
    }

    void popupEntries() {
        auto& pop = form->mnuPop;
        // Per type: the captions, and which of entries 0, 2, 4, 5 and 7 can be chosen.
        for (const auto& [FileID, seen] : {std::pair<uint8_t, QString>{0, "Map|Put Map in verdata|01001"},
                                           std::pair<uint8_t, QString>{128, "Light|Put Light in verdata|00111"}}) {
            PopupMenu_Create(FileID);
            QString enabled;
            for (size_t entry : {0, 2, 4, 5, 7}) enabled += pop[entry]->isEnabled() ? '1' : '0';
            QCOMPARE(pop[0]->text() + "|" + pop[2]->text() + "|" + enabled, seen);
            QCOMPARE(pop[5]->data().toString() + "|" + pop[7]->data().toString(),
                     QString("IMPORT %1|DELETE %1").arg(FileID));
            QVERIFY(!pop[2]->isChecked() && pop[8]->isVisible() == (FileID == 128) &&
                    !pop[9]->isVisible());  // a picture
            form->mnuPopup->hide();
        }
        // The verdata entry toggles the type's flag; twice comes back; a command matching no word does nothing.
        const uint8_t before = FileTypes[12].InVerdata;
        PopupMenu_Create(12);
        pop[2]->trigger();
        QCOMPARE(FileTypes[12].InVerdata, static_cast<uint8_t>(before ? 0 : 1));
        form->mnuPopup->hide();
        PopupMenu_Run("verdata 12");
        PopupMenu_Run("NOTHING 12");
        QCOMPARE(FileTypes[12].InVerdata, before);
    }

    void deleteSelectedRows() {
        MenuRefresh();
        SelectRows(Gumps(), {0, 2});
        PopupMenu_Run("DELETE 12");
        QVERIFY(Slot(12, 0).Offset == -1 && Slot(12, 4096).Offset == -1 && Slot(12, 26).Offset == 0);
        QVERIFY(Gumps()->model()->rowCount() == 1 && NodeTexts(form->twMenu).contains("Gumps (1)"));
        Gumps()->clearSelection();
        PopupMenu_Run("DELETE 12");  // no selection: nothing goes
        QCOMPARE(PatchBlocks[12].Count, 1);
        SelectRows(Gumps(), {0});  // the Delete key on the list does what the popup does
        QTest::keyRelease(Gumps(), Qt::Key_Delete);
        QVERIFY(PatchBlocks[12].Count == 0 && NodeTexts(form->twMenu).contains("Gumps (0)"));
    }

    void exportAndImportDatFiles() {
        StoreBlock(4, 26, 5, 7, ByteArray{10, 20, 30, 40, 50});
        StoreBlock(4, 27, 0, 0, ByteArray{});
        RecountBlocks(4);
        MenuRefresh();
        QTableView* art = form->lvPage[0];
        SelectRows(art, {0, 1});
        PopupMenu_Run("EXPORT 4");
        QVERIFY(QFile::exists(env.Path("export/4_1A.dat")) && !QFile::exists(env.Path("export/4_1B.dat")) &&
                QDir(env.Path("import")).exists());  // 1B: no bytes, no file; the bytes: BlockCommandsTest
        // Moved across with other bytes: the row shows the block's new size, Extra -1.
        QVERIFY(guitest::WriteAll(env.Path("import/4_1A.dat"), QByteArray("\x01\x02\x03", 3)));
        SelectRows(art, {0});
        PopupMenu_Run("IMPORT 4");
        QCOMPARE(RowTexts(art, 0), QStringList({"1A", "3", "FFFFFFFF"}));
    }

    // The rows themselves: HexRowsTest.
    void hexViewerRows() {
        frmHexView* view = form->HexView();
        view->LoadData(ByteArray(196, 0x41), "Map block 1F");
        QCOMPARE(view->windowTitle(), QString("Map block 1F"));
        QAbstractItemModel* model = view->lvHex->model();
        QCOMPARE(QList<int>({model->columnCount(), model->rowCount()}), QList<int>({19, 13}));
        QStringList headers;
        for (int column : {2, 12, 18}) headers << model->headerData(column, Qt::Horizontal).toString();
        QCOMPARE(headers, QStringList({"00", "10", "Text"}));
        QVERIFY(view->lvHex->isColumnHidden(0));
        view->resize(700, 400);
        guitest::Screenshot(view, "hex-view");
        view->LoadData(ByteArray{65}, "Art block 0");  // the next block replaces the rows
        QVERIFY(model->rowCount() == 1 && model->index(0, 2).data().toString() == "41");
    }

    void doubleClickOpensOnlyBlocksWithBytes() {
        StoreBlock(4, 40, -1, 0, ByteArray{});
        RecountBlocks(4);
        MenuRefresh();
        QTableView* art = form->lvPage[0];
        int opened = 0;
        QTimer closer;  // the modal viewer is closed as soon as it shows
        QObject::connect(&closer, &QTimer::timeout, [&] {
            if (form->HexView()->isVisible() && ++opened > 0) form->HexView()->reject();
        });
        closer.start(10);
        // Block 40 (Size -1), no row, block 26 (3 bytes): only the last opens.
        for (const auto& rows :
             {std::initializer_list<int>{2}, std::initializer_list<int>{}, std::initializer_list<int>{0}}) {
            SelectRows(art, rows);
            form->lvPage_DblClick(0);
        }
        QVERIFY(opened == 1 && form->HexView()->windowTitle() == "Art block 1A");
    }

    void fileCommands() {
        QString answer;
        QStringList filters;
        SetFileDialogOverride([&](bool, const QString& filter, const QString&, const QString&) {
            filters << filter;
            return answer;
        });
        const QString one = env.Path("one.muo"), oneTitle = "Quillet Patching Tool - " + one;
        // A cancelled or missing Open, a cancelled Save (a new patch asks for a path): nothing changes.
        StoreBlock(8, 1, 1, 0, ByteArray{9});
        RecountBlocks(8);
        for (const QString& path : {QString(), env.Path("missing.muo")}) {
            answer = path;
            form->mnuOpen_Click();
        }
        answer = "";
        form->mnuSave_Click();
        QVERIFY(PatchBlocks[8].Count == 1 && form->windowTitle() == kNewTitle && form->PatchFilename.isEmpty());
        answer = one;
        form->mnuSave_Click();
        QVERIFY(form->PatchFilename == one && form->windowTitle() == oneTitle);
        // Save again goes to the same file without a dialog.
        answer = env.Path("never-asked.muo");
        StoreBlock(8, 2, 1, 0, ByteArray{8});
        form->mnuSave_Click();
        QVERIFY(!QFile::exists(env.Path("never-asked.muo")));
        form->mnuNew_Click();
        QVERIFY(PatchBlocks[8].Count == 0 && form->windowTitle() == kNewTitle && form->PatchFilename.isEmpty());
        answer = one;
        form->mnuOpen_Click();
        // What the file holds after the round trip: JobsTest.
        QVERIFY(PatchBlocks[8].Count == 2 && form->windowTitle() == oneTitle);
        QVERIFY(filters.size() == 5 && filters.first() == "MUO Patchfile (*.muo)");
        SetFileDialogOverride(nullptr);
        QCOMPARE(ConvertFilter("MUO Patchfile (*.muo) |*.muo|"), QString("MUO Patchfile (*.muo)"));
        QCOMPARE(ConvertFilter("BMP picture (*.BMP)|*.bmp"), QString("BMP picture (*.bmp)"));
        QCOMPARE(ConvertFilter("Pictures|*.bmp;*.jpg|All files|*.*"),
                 QString("Pictures (*.bmp *.jpg);;All files (*.*)"));
    }

    // Open of a file that is no MUO file, or one this program does not read:
    // the user is told, and the patch that was open stays, with its name, so
    // that a Save cannot write over that file. A load that stops part-way
    // keeps what it loaded but not the name; one that loads nothing says so.
    void openRefusesWhatIsNoPatchAndTellsWhatItLoaded() {
        QString answer;
        SetFileDialogOverride([&](bool, const QString&, const QString&, const QString&) { return answer; });
        const QString mine = env.Path("mine.muo"), mineTitle = "Quillet Patching Tool - " + mine;
        form->mnuNew_Click();
        StoreBlock(8, 1, 1, 0, ByteArray{9});
        RecountBlocks(8);
        MenuRefresh();
        answer = mine;
        form->mnuSaveAs_Click();
        const QByteArray notPatch("MYP\0\x05\0\0\0garbage", 15);
        QVERIFY(guitest::WriteAll(env.Path("container.muo"), notPatch) &&
                guitest::WriteAll(env.Path("v2.muo"), test::Bytes{}.muoHeader(0, 2).b));
        for (const char* name : {"container.muo", "v2.muo"}) {
            env.warnings.clear();
            answer = env.Path(name);
            form->mnuOpen_Click();
            QCOMPARE(env.warnings.size(), size_t{1});
            QVERIFY2(QString::fromStdString(env.warnings[0]).contains(answer + ": Unsupported patchfile."),
                     env.warnings[0].c_str());
            QVERIFY(form->PatchFilename == mine && form->windowTitle() == mineTitle);
            QVERIFY(PatchBlocks[8].Count == 1 && NodeTexts(form->twMenu).contains("Sound (1)"));
        }
        StoreBlock(8, 2, 1, 0, ByteArray{8});
        form->mnuSave_Click();  // to the patch's own file; the refused one is as it was
        QCOMPARE(guitest::ReadAll(env.Path("container.muo")), notPatch);
        QVERIFY(guitest::ReadAll(mine).size() == 45 + 2 * 17);

        // Stops at its second entry: the first stays, counted, and the name is not taken.
        QVERIFY(guitest::WriteAll(env.Path("stops.muo"),
                                  test::Bytes{}.muoHeader(2).muo(4, 1, 0, 1, {7}).muo(300, 0, 0, 0).b));
        env.warnings.clear();
        answer = env.Path("stops.muo");
        form->mnuOpen_Click();
        QVERIFY(form->PatchFilename.isEmpty() && form->windowTitle() == kNewTitle);
        QVERIFY(PatchBlocks[4].Count == 1 && NodeTexts(form->twMenu).contains("Art (1)"));
        QVERIFY(env.warnings.size() == 1 && QString::fromStdString(env.warnings[0]).contains("entry 1: Overflow"));

        // An empty patch file opens, and says that it gave no block.
        env.warnings.clear();
        answer = env.Path("empty.muo");
        QVERIFY(guitest::WriteAll(answer, test::Bytes{}.muoHeader(0).b));
        form->mnuOpen_Click();
        QVERIFY(form->PatchFilename == answer && PatchBlocks[4].Count == 0);
        QCOMPARE(env.warnings,
                 std::vector<std::string>{answer.toStdString() + ": no block was loaded (the file counts 0 entries)."});
        SetFileDialogOverride(nullptr);
    }

    void waitStateDisablesAndRefusesClose() {
        Wait_Start("Working. Please wait.");
        QCOMPARE(form->sbStart->currentMessage(), QString("Working. Please wait."));
        QVERIFY(!form->mnuOpen->isEnabled() && !form->twMenu->isEnabled() && !form->lvPage[0]->isEnabled());
        QVERIFY(form->pgProgress->isVisible() && form->pgProgress->isEnabled() && form->tmrWait->isActive());
        WaitPercent = 40;
        QCOMPARE(form->pgProgress->value(), 0);  // only the timer moves the bar
        QTest::qWait(1100);
        QCOMPARE(form->pgProgress->value(), 40);
        QCloseEvent close;
        QCoreApplication::sendEvent(form, &close);
        QVERIFY(!close.isAccepted() && ::access(DataFileName.c_str(), F_OK) == 0);
        Wait_Start("Again. Please wait.");  // replaces the text, resets the bar; one stop ends both
        QCOMPARE(form->pgProgress->value(), 0);
        Wait_Stop();
        QVERIFY(form->mnuOpen->isEnabled() && form->twMenu->isEnabled() && !form->tmrWait->isActive() &&
                WaitPercent == 0);
        QVERIFY(!form->pgProgress->isVisible() && form->sbStart->currentMessage().isEmpty());
    }

    // The window holds the lock of its patch file while the file is its own,
    // across its own saves; a file another program holds is neither opened nor
    // saved over, and the user is told so in a warning box.
    void patchFileLockIsHeldAndRespected() {
        const QString held = env.Path("held.muo");
        const std::string file = held.toStdString();
        SetFileDialogOverride([&](bool, const QString&, const QString&, const QString&) { return held; });
        form->mnuNew_Click();
        StoreBlock(8, 5, 1, 0, ByteArray{5});
        RecountBlocks(8);
        form->mnuSaveAs_Click();
        FileLock other;  // another program, as far as the lock goes
        QVERIFY(!other.TryLock(file, LockMode::Shared));
        StoreBlock(8, 6, 1, 0, ByteArray{6});
        form->mnuSave_Click();  // replaces the file: the lock must follow, and the save must not wait for it
        QVERIFY(!other.TryLock(file, LockMode::Shared));
        form->mnuNew_Click();
        QVERIFY(other.TryLock(file));
        const QByteArray saved = guitest::ReadAll(held);

        StoreBlock(8, 7, 1, 0, ByteArray{7});
        RecountBlocks(8);
        const QString inUse = held + " is being used by another program.\n";
        QCOMPARE(AnswerBox([&] { form->mnuOpen_Click(); }), "2|" + inUse + "It was not opened.");
        QVERIFY(form->windowTitle() == kNewTitle && PatchBlocks[8].Count == 1);
        QCOMPARE(AnswerBox([&] { form->mnuSaveAs_Click(); }), "2|" + inUse + "The patch was not saved.");
        QVERIFY(form->windowTitle() == kNewTitle && guitest::ReadAll(held) == saved);

        other.Release();
        form->mnuOpen_Click();
        QVERIFY(form->windowTitle().endsWith(held) && PatchBlocks[8].Count == 2);
        QVERIFY(!other.TryLock(file, LockMode::Shared));
        form->mnuNew_Click();
        QVERIFY(other.TryLock(file));
        SetFileDialogOverride(nullptr);
    }

    // One pixel per block; a rectangle dragged and deleted through the popup leaves the blocks outside it.
    void mapPageDrawsAndDeletesARectangle() {
        form->mnuNew_Click();
        RadarColors[5] = 0x00C000, RadarColors[6] = 0x0000C0;  // green, red
        ByteArray block(196, 0);
        for (int32_t x = 0; x < 100; ++x) {
            block[4] = static_cast<uint8_t>(x < 50 ? 5 : 6);
            for (int32_t y = 0; y < 80; ++y) StoreBlock(0, x * 512 + y, 196, -1, block);
        }
        RecountBlocks(0);
        MenuRefresh();
        form->twMenu->setCurrentItem(Node(form->twMenu, "P0"));
        const QImage& picture = form->pageMap->Picture();
        QCOMPARE(QList<QRgb>({picture.pixel(10, 10), picture.pixel(60, 79)}),
                 QList<QRgb>({qRgb(0, 0xC0, 0), qRgb(0xC0, 0, 0)}));
        QVERIFY(picture.pixel(100, 10) != qRgb(0xC0, 0, 0));
        guitest::Screenshot(form, "map-page");
        // Dragged from lower right to upper left: blocks x 20..29, y 30..39.
        QTest::mousePress(form->pageMap->picScroll, Qt::LeftButton, {}, QPoint(29, 39));
        QTest::mouseRelease(form->pageMap->picScroll, Qt::LeftButton, {}, QPoint(20, 30));
        PopupMenu_Run("DELETE 0");
        QVERIFY(Slot(0, 20 * 512 + 30).Offset == -1 && Slot(0, 29 * 512 + 39).Offset == -1);
        QVERIFY(Slot(0, 30 * 512 + 30).Offset > 0 && Slot(0, 20 * 512 + 40).Offset > 0);
        QVERIFY(NodeTexts(form->twMenu).contains("Map (7900)") && form->pageMap->X1 == -1);  // redrawn: no selection
    }

    // The hover text of the picture pages, and the note when the pages can only be black.
    void mapPageTellsBlockAndColours() {
        form->twMenu->setCurrentItem(Node(form->twMenu, "P0"));
        QWidget* picture = form->pageMap->picScroll;
        QVERIFY(form->pageMap->scrollArea->horizontalScrollBar()->maximum() > 0);  // narrower than the picture
        QMouseEvent move(QEvent::MouseMove, QPointF(20, 30), picture->mapToGlobal(QPointF(20, 30)), Qt::NoButton,
                         Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(picture, &move);
        QCOMPARE(form->sbStart->currentMessage(), QString("Block 10270 at 20, 30; tiles 160, 240 to 167, 247"));
        QEvent leave(QEvent::Leave);
        QApplication::sendEvent(picture, &leave);
        QVERIFY(form->sbStart->currentMessage().isEmpty());

        const std::string before = ClientLocation().UO2DPath;
        QVERIFY(QDir().mkpath(env.Path("client")) && !QFile::exists("radarcol.mul"));
        ClientLocation().UO2DPath = env.Path("client/").toStdString();
        form->mnuNew_Click();
        const QString none = form->pageMap->lblNote->text();
        QVERIFY(none.contains("(there is no radarcol.mul in " + env.Path("client/") + ")") &&
                form->pageMap->lblNote->isVisible() && form->pageStatics->lblNote->text() == none);
        QVERIFY(guitest::WriteAll(env.Path("client/radarcol.mul"), QByteArray("\x1F\x00", 2)));
        form->mnuNew_Click();
        QVERIFY(form->pageMap->lblNote->isHidden() && form->pageStatics->lblNote->isHidden());
        ClientLocation().UO2DPath.clear();
        form->mnuNew_Click();
        QVERIFY(form->pageMap->lblNote->text().startsWith(
            "No radar colours were found (the client's folder is not known), so every block is drawn black."));
        ClientLocation().UO2DPath = before;
    }

    // With the block ranges of current clients a block beyond the classic grid widens both pages to 896 columns:
    // drawn, hovered, scrolled to and deleted there; back at 768 once no block lies beyond.
    void widePatchWidensBothPages() {
        const FileTypeRec map = FileTypes[0], statics = FileTypes[2];
        RegisterMUL(0, "Map", 196, 458751, map.ImageIndex, map.Page, map.InVerdata);
        RegisterMUL(2, "Statics", 0, 458751, statics.ImageIndex, statics.Page, statics.InVerdata);
        const std::string client = ClientLocation().UO2DPath;
        ClientLocation().UO2DPath = env.Path("no-client/").toStdString();  // the note shows
        form->mnuNew_Click();
        RadarColors[5] = 0x00C000;
        ByteArray block(196, 0);
        block[4] = 5;
        for (int32_t x = 768; x < 896; ++x)  // a band beyond the classic grid: block 393216 is column 768, row 0
            for (int32_t y = 0; y < 64; ++y) StoreBlock(0, x * 512 + y, 196, -1, block);
        StoreBlock(2, 458751, 0, -1, nullptr);  // (895, 511), present without bytes: black
        RecountBlocks(0);
        RecountBlocks(2);
        MenuRefresh();
        form->twMenu->setCurrentItem(Node(form->twMenu, "P0"));
        QCOMPARE(QList<int>({form->pageMap->Width(), form->pageStatics->Width()}), QList<int>({896, 896}));
        QCOMPARE(QList<QRgb>({form->pageMap->Picture().pixel(768, 0), form->pageMap->Picture().pixel(895, 63)}),
                 QList<QRgb>({qRgb(0, 0xC0, 0), qRgb(0, 0xC0, 0)}));
        QCOMPARE(form->pageStatics->Picture().pixel(895, 511), qRgb(0, 0, 0));
        QScrollBar* across = form->pageMap->scrollArea->horizontalScrollBar();
        across->setValue(across->maximum());  // for the screenshot: the last columns in sight
        QVERIFY(form->pageMap->lblNote->isVisible());
        guitest::Screenshot(form, "map-page-wide");
        QCOMPARE(guitest::LayoutFaults(form), QStringList());

        QWidget* picture = form->pageMap->picScroll;
        QMouseEvent move(QEvent::MouseMove, QPointF(895, 511), picture->mapToGlobal(QPointF(895, 511)), Qt::NoButton,
                         Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(picture, &move);
        const QString cursor = "Block 458751 at 895, 511; tiles 7160, 4088 to 7167, 4095";
        QCOMPARE(form->sbStart->currentMessage(), cursor);
        QVERIFY(form->sbStart->fontMetrics().horizontalAdvance(cursor) < form->sbStart->width());

        // Dragged across the last columns: the map's blocks beyond go, the statics block keeps the pages wide.
        QTest::mousePress(picture, Qt::LeftButton, {}, QPoint(760, 0));
        QTest::mouseRelease(picture, Qt::LeftButton, {}, QPoint(896, 64));
        PopupMenu_Run("DELETE 0");
        QVERIFY(NodeTexts(form->twMenu).contains("Map (0)") && form->pageMap->Width() == 896);
        QTest::mousePress(form->pageStatics->picScroll, Qt::LeftButton, {}, QPoint(895, 511));
        QTest::mouseRelease(form->pageStatics->picScroll, Qt::LeftButton, {}, QPoint(900, 600));
        PopupMenu_Run("DELETE 2");
        QCOMPARE(QList<int>({form->pageMap->Width(), form->pageStatics->Width()}), QList<int>({768, 768}));
        QVERIFY(NodeTexts(form->twMenu).contains("Statics (0)"));

        FileTypes[0] = map;
        FileTypes[2] = statics;
        ClientLocation().UO2DPath = client;
        form->mnuNew_Click();
    }

    // Failures are told with the warning icon, the texts as the jobs give them.
    void messagesCarryTheWarningIcon() {
        InstallWaitHooks(formHooks);
        QString seen;
        QTimer::singleShot(0, [&] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                seen = box->windowTitle() + "|" + box->text() + "|" + QString::number(box->icon());
                box->accept();
            }
        });
        MsgBox("Unable to create the new verdata.mul");
        env.CaptureMessages();
        QCOMPARE(seen,
                 "Quillet Patching Tool|Unable to create the new verdata.mul|" + QString::number(QMessageBox::Warning));
    }

    // Each opening of the hex viewer is a load: its own size, whatever the user made of the last one.
    void hexViewerOpensAtItsOwnSize() {
        frmHexView* view = form->HexView();
        view->LoadData(ByteArray(40, 1), "Art block 1");
        QList<QSize> sizes;
        QTimer closer;
        QObject::connect(&closer, &QTimer::timeout, [&] {
            if (!view->isVisible()) return;
            sizes << view->size();
            view->resize(900, 600);
            view->reject();
        });
        closer.start(10);
        view->exec();
        view->exec();
        const QSize own(10215 / 15, 5655 / 15);
        QCOMPARE(sizes, QList<QSize>({own, own}));
    }

    void quitDisposesThePatch() {
        const std::string scratch = DataFileName;
        QVERIFY(::access(scratch.c_str(), F_OK) == 0);
        form->mnuQuit->trigger();
        QVERIFY(!form->isVisible() && ::access(scratch.c_str(), F_OK) != 0);
    }
};

QTEST_MAIN(tst_frmStart)
#include "tst_frmStart.moc"
