// The main window driven as a user drives it: the first screen, the tree and
// its pages, the block lists with their popup, the hex viewer, the File
// commands and the wait state.
#include <QAction>
#include <QCloseEvent>
#include <QFile>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QProgressBar>
#include <QStatusBar>
#include <QTableView>
#include <QTimer>
#include <QTreeWidget>
#include <QtTest>

#include <unistd.h>

#include "BlockListModel.h"
#include "FileDialogs.h"
#include "GuiTestEnv.h"
#include "frmHexView.h"
#include "frmStart.h"
#include "mMenu.h"
#include "uLicense.h"
#include "uScrollPicture.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "core/mStart.h"
#include "core/mWait.h"
#include "formats/mPatchMUO.h"
#include "viewers/mRadarCol.h"

using namespace quillet;

namespace {

QStringList NodeTexts(QTreeWidget* tree) {
    QStringList texts;
    QTreeWidgetItem* root = tree->topLevelItem(0);
    for (int i = 0; root && i < root->childCount(); ++i) texts << root->child(i)->text(0);
    return texts;
}

QTreeWidgetItem* Node(QTreeWidget* tree, const QString& key) {
    QTreeWidgetItem* root = tree->topLevelItem(0);
    if (root && root->data(0, Qt::UserRole).toString() == key) return root;
    for (int i = 0; root && i < root->childCount(); ++i)
        if (root->child(i)->data(0, Qt::UserRole).toString() == key) return root->child(i);
    return nullptr;
}

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

}  // namespace

class tst_frmStart : public QObject {
    Q_OBJECT

private:
    guitest::Environment env;
    frmStart* form = nullptr;
    QTableView* Gumps() { return form->lvPage[4]; }

    void CaptureMessages() {
        WaitHooks hooks = CurrentWaitHooks();
        hooks.message = [this](const std::string& text) { env.messages.push_back(text); };
        InstallWaitHooks(hooks);
    }

private Q_SLOTS:
    void initTestCase() {
        form = &frmStart::Instance();
        form->show();
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
        PatchNew();
        MenuRefresh();
        CaptureMessages();
    }

    void firstScreen() {
        QCOMPARE(form->windowTitle(), QString("Quillet Patching Tool - New patch"));
        QCOMPARE(form->lblTitle->text(), QString(" Quillet"));
        QVERIFY(form->pageLicense->isVisible());
        QVERIFY(!form->pageMap->isVisible());
        for (QTableView* list : form->lvPage) QVERIFY(!list->isVisible());
        QCOMPARE(form->twMenu->topLevelItem(0)->text(0), QString("Patch"));
        QVERIFY(form->twMenu->topLevelItem(0)->isExpanded());
        QCOMPARE(NodeTexts(form->twMenu),
                 QStringList({"Map (0)", "Statics (0)", "Art (0)", "Anim (0)", "Sound (0)", "Texmaps (0)",
                              "Gumps (0)", "Multis (0)", "Skills (0)", "Tiledata (0)", "Animdata (0)", "Hues (0)",
                              "Light (0)", "Radarcol (0)"}));
        QVERIFY(Node(form->twMenu, "P129"));
        QCOMPARE(form->pageLicense->lblVersion->text(), QString("Version 1.0"));
        QVERIFY(!form->pgProgress->isVisible());
        guitest::Screenshot(form, "first-screen");
    }

    void versionLine() {
        QCOMPARE(VersionLine(1, 0, 0), QString("Version 1.0"));
        QCOMPARE(VersionLine(1, 0, 7), QString("Version 1.0 (Internal build 7)"));
    }

    void treeCountsAndPages() {
        StoreBlock(12, 0, 4, 0x00400030, ByteArray{1, 2, 3, 4});
        StoreBlock(12, 26, -1, -1, ByteArray{});
        StoreBlock(12, 4096, -5, 0, ByteArray{});
        RecountBlocks(12);
        MenuRefresh();
        QVERIFY(NodeTexts(form->twMenu).contains("Gumps (3)"));

        form->twMenu->setCurrentItem(Node(form->twMenu, "P12"));
        QCOMPARE(form->lblTitle->text(), QString(" Gumps"));
        QVERIFY(Gumps()->isVisible());
        QVERIFY(!form->pageLicense->isVisible());
        QVERIFY(Gumps()->isColumnHidden(0));
        QCOMPARE(Gumps()->model()->headerData(1, Qt::Horizontal).toString(), QString("ID"));
        QCOMPARE(Gumps()->model()->rowCount(), 3);
        QCOMPARE(RowTexts(Gumps(), 0), QStringList({"0", "4", "400030"}));
        QCOMPARE(RowTexts(Gumps(), 1), QStringList({"1A", "0", "FFFFFFFF"}));
        QCOMPARE(RowTexts(Gumps(), 2), QStringList({"1000", "-5", "0"}));
        QCOMPARE(Gumps()->model()->index(1, 0).data(BlockListModel::KeyRole).toString(), QString("A26"));
        guitest::Screenshot(form, "gumps-list");

        form->twMenu->setCurrentItem(Node(form->twMenu, "P0"));
        QVERIFY(form->pageMap->isVisible());
        QVERIFY(!Gumps()->isVisible());
        form->twMenu->setCurrentItem(Node(form->twMenu, "PATCHES"));
        QVERIFY(form->pageLicense->isVisible());
        QCOMPARE(form->lblTitle->text(), QString(" Quillet"));

        // A refresh keeps the page and leaves no node selected.
        form->twMenu->setCurrentItem(Node(form->twMenu, "P12"));
        MenuRefresh();
        QVERIFY(Gumps()->isVisible());
        QVERIFY(form->twMenu->selectedItems().isEmpty());
    }

    void popupEntries() {
        PopupMenu_Create(0);
        auto& pop = form->mnuPop;
        QCOMPARE(pop[0]->text(), QString("Map"));
        QVERIFY(!pop[0]->isEnabled());
        QCOMPARE(pop[2]->text(), QString("Put Map in verdata"));
        QVERIFY(!pop[2]->isChecked());
        QVERIFY(pop[2]->isEnabled());
        QVERIFY(!pop[4]->isEnabled());
        QVERIFY(!pop[5]->isEnabled());
        QVERIFY(pop[7]->isEnabled());
        QCOMPARE(pop[7]->data().toString(), QString("DELETE 0"));
        QVERIFY(!pop[8]->isVisible());
        QVERIFY(!pop[9]->isVisible());
        form->mnuPopup->hide();

        PopupMenu_Create(128);
        QCOMPARE(pop[0]->text(), QString("Light"));
        QVERIFY(!pop[2]->isEnabled());
        QVERIFY(pop[4]->isEnabled());
        QCOMPARE(pop[5]->data().toString(), QString("IMPORT 128"));
        form->mnuPopup->hide();

        // The verdata entry toggles the type's flag; twice comes back.
        const uint8_t before = FileTypes[12].InVerdata;
        PopupMenu_Create(12);
        pop[2]->trigger();
        QCOMPARE(FileTypes[12].InVerdata, static_cast<uint8_t>(before ? 0 : 1));
        PopupMenu_Run("verdata 12");
        QCOMPARE(FileTypes[12].InVerdata, before);
        form->mnuPopup->hide();
        PopupMenu_Run("NOTHING 12");  // matches no word: nothing happens
    }

    void deleteSelectedRows() {
        MenuRefresh();
        QCOMPARE(Gumps()->model()->rowCount(), 3);
        SelectRows(Gumps(), {0, 2});
        PopupMenu_Run("DELETE 12");
        QCOMPARE(Slot(12, 0).Offset, -1);
        QCOMPARE(Slot(12, 4096).Offset, -1);
        QCOMPARE(Slot(12, 26).Offset, 0);
        QCOMPARE(PatchBlocks[12].Count, 1);
        QCOMPARE(Gumps()->model()->rowCount(), 1);
        QVERIFY(NodeTexts(form->twMenu).contains("Gumps (1)"));

        // The Delete key on the list does the same.
        SelectRows(Gumps(), {0});
        QTest::keyRelease(Gumps(), Qt::Key_Delete);
        QCOMPARE(PatchBlocks[12].Count, 0);
        QVERIFY(NodeTexts(form->twMenu).contains("Gumps (0)"));

        // No selection: nothing changes, the tree is rebuilt all the same.
        PopupMenu_Run("DELETE 12");
        QCOMPARE(PatchBlocks[12].Count, 0);
    }

    void exportAndImportDatFiles() {
        const ByteArray bytes{10, 20, 30, 40, 50};
        StoreBlock(4, 26, 5, 7, bytes);
        StoreBlock(4, 27, 0, 0, ByteArray{});
        RecountBlocks(4);
        MenuRefresh();
        QTableView* art = form->lvPage[0];
        SelectRows(art, {0, 1});
        PopupMenu_Run("EXPORT 4");
        QFile exported(env.Path("export/4_1A.dat"));
        QVERIFY(exported.open(QIODevice::ReadOnly));
        QCOMPARE(exported.readAll(), QByteArray("\x0A\x14\x1E\x28\x32", 5));
        QVERIFY(!QFile::exists(env.Path("export/4_1B.dat")));  // no bytes, no file
        QVERIFY(QDir(env.Path("import")).exists());

        // Moved across with other bytes: the block takes them, Extra -1.
        QFile imported(env.Path("import/4_1A.dat"));
        QVERIFY(imported.open(QIODevice::WriteOnly));
        imported.write("\x01\x02\x03", 3);
        imported.close();
        SelectRows(art, {0});
        PopupMenu_Run("IMPORT 4");
        QCOMPARE(ReadBlockBytes(4, 26), (ByteArray{1, 2, 3}));
        QCOMPARE(Slot(4, 26).Extra, -1);
        QCOMPARE(RowTexts(art, 0), QStringList({"1A", "3", "FFFFFFFF"}));
    }

    void hexViewerRows() {
        frmHexView* view = form->HexView();
        ByteArray bytes(196);
        for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i);
        view->LoadData(bytes, "Map block 1F");
        QCOMPARE(view->windowTitle(), QString("Map block 1F"));
        QAbstractItemModel* model = view->lvHex->model();
        QCOMPARE(model->columnCount(), 19);
        QCOMPARE(model->rowCount(), 13);
        QCOMPARE(model->headerData(2, Qt::Horizontal).toString(), QString("00"));
        QCOMPARE(model->headerData(12, Qt::Horizontal).toString(), QString("10"));
        QCOMPARE(model->headerData(18, Qt::Horizontal).toString(), QString("Text"));
        // The rows themselves: HexRowsTest.
        QCOMPARE(model->index(12, 1).data().toString(), QString("C0"));
        QCOMPARE(model->index(4, 18).data().toString(), QString("@ABCDEFGHIJKLMNO"));
        QVERIFY(view->lvHex->isColumnHidden(0));
        view->resize(700, 400);
        guitest::Screenshot(view, "hex-view");

        view->LoadData(ByteArray{65}, "Art block 0");
        QCOMPARE(model->rowCount(), 1);
        QCOMPARE(model->index(0, 2).data().toString(), QString("41"));
        QCOMPARE(model->index(0, 3).data().toString(), QString(""));
    }

    void doubleClickOpensOnlyBlocksWithBytes() {
        StoreBlock(4, 40, -1, 0, ByteArray{});
        RecountBlocks(4);
        MenuRefresh();
        QTableView* art = form->lvPage[0];
        int opened = 0;
        // The modal viewer is closed as soon as it shows.
        QTimer closer;
        QObject::connect(&closer, &QTimer::timeout, [&] {
            if (form->HexView()->isVisible()) {
                ++opened;
                form->HexView()->reject();
            }
        });
        closer.start(10);
        SelectRows(art, {2});  // block 40, Size -1
        form->lvPage_DblClick(0);
        QCOMPARE(opened, 0);
        art->clearSelection();
        form->lvPage_DblClick(0);
        QCOMPARE(opened, 0);
        SelectRows(art, {0});  // block 26 with 3 bytes
        form->lvPage_DblClick(0);
        QCOMPARE(opened, 1);
        QCOMPARE(form->HexView()->windowTitle(), QString("Art block 1A"));
    }

    void fileCommands() {
        // Open with a cancelled dialog or a missing file changes nothing.
        QString answer;
        QStringList filters;
        SetFileDialogOverride([&](bool, const QString& filter, const QString&, const QString&) -> QString {
            filters << filter;
            return answer;
        });
        StoreBlock(8, 1, 1, 0, ByteArray{9});
        RecountBlocks(8);
        answer = "";
        form->mnuOpen_Click();
        answer = env.Path("missing.muo");
        form->mnuOpen_Click();
        QCOMPARE(PatchBlocks[8].Count, 1);
        QCOMPARE(form->windowTitle(), QString("Quillet Patching Tool - New patch"));

        // Save on a new patch asks for a path; cancelled, nothing is written.
        answer = "";
        form->mnuSave_Click();
        QVERIFY(form->PatchFilename.isEmpty());
        answer = env.Path("one.muo");
        form->mnuSave_Click();
        QCOMPARE(form->PatchFilename, env.Path("one.muo"));
        QCOMPARE(form->windowTitle(), "Quillet Patching Tool - " + env.Path("one.muo"));
        QVERIFY(QFile::exists(env.Path("one.muo")));

        // Save again goes to the same file without a dialog.
        answer = env.Path("never-asked.muo");
        StoreBlock(8, 2, 1, 0, ByteArray{8});
        form->mnuSave_Click();
        QVERIFY(!QFile::exists(env.Path("never-asked.muo")));

        form->mnuNew_Click();
        QVERIFY(form->PatchFilename.isEmpty());
        QCOMPARE(PatchBlocks[8].Count, 0);
        QCOMPARE(form->windowTitle(), QString("Quillet Patching Tool - New patch"));

        answer = env.Path("one.muo");
        form->mnuOpen_Click();
        QCOMPARE(PatchBlocks[8].Count, 2);
        QCOMPARE(ReadBlockBytes(8, 2), ByteArray{8});
        QCOMPARE(form->windowTitle(), "Quillet Patching Tool - " + env.Path("one.muo"));
        QCOMPARE(filters.size(), 5);
        QCOMPARE(filters.first(), QString("MUO Patchfile (*.muo)"));
        SetFileDialogOverride(nullptr);
    }

    void filterConversion() {
        QCOMPARE(ConvertFilter("MUO Patchfile (*.muo) |*.muo"), QString("MUO Patchfile (*.muo)"));
        QCOMPARE(ConvertFilter("MUO Patchfile (*.muo) |*.muo|"), QString("MUO Patchfile (*.muo)"));
        QCOMPARE(ConvertFilter("BMP picture (*.BMP)|*.bmp"), QString("BMP picture (*.bmp)"));
        QCOMPARE(ConvertFilter("Pictures|*.bmp;*.jpg|All files|*.*"),
                 QString("Pictures (*.bmp *.jpg);;All files (*.*)"));
    }

    void waitStateDisablesAndRefusesClose() {
        Wait_Start("Working. Please wait.");
        QCOMPARE(form->sbStart->currentMessage(), QString("Working. Please wait."));
        QVERIFY(!form->mnuOpen->isEnabled());
        QVERIFY(!form->twMenu->isEnabled());
        QVERIFY(!form->lvPage[0]->isEnabled());
        QVERIFY(form->pgProgress->isVisible());
        QVERIFY(form->pgProgress->isEnabled());
        QVERIFY(form->tmrWait->isActive());
        QCOMPARE(form->pgProgress->value(), 0);
        WaitPercent = 40;
        QCOMPARE(form->pgProgress->value(), 0);  // only the timer moves the bar
        QTest::qWait(1100);
        QCOMPARE(form->pgProgress->value(), 40);

        QCloseEvent close;
        QCoreApplication::sendEvent(form, &close);
        QVERIFY(!close.isAccepted());
        QVERIFY(::access(DataFileName.c_str(), F_OK) == 0);

        // A second start replaces the text and resets the bar; one stop ends both.
        Wait_Start("Again. Please wait.");
        QCOMPARE(form->pgProgress->value(), 0);
        Wait_Stop();
        QVERIFY(form->mnuOpen->isEnabled());
        QVERIFY(form->twMenu->isEnabled());
        QVERIFY(!form->tmrWait->isActive());
        QVERIFY(!form->pgProgress->isVisible());
        QCOMPARE(WaitPercent, 0);
        QVERIFY(form->sbStart->currentMessage().isEmpty());
    }

    // A whole Gumps type: the refresh and a delete of many rows must stay
    // quick. The times are reported, not asserted.
    void fullGumpsType() {
        form->mnuNew_Click();
        const ByteArray bytes(8, 1);
        for (int32_t block = 0; block <= 65535; ++block) StoreBlock(12, block, 8, block, bytes);
        RecountBlocks(12);
        QElapsedTimer timer;
        timer.start();
        MenuRefresh();
        const qint64 refreshMs = timer.elapsed();
        QCOMPARE(Gumps()->model()->rowCount(), 65536);
        QCOMPARE(RowTexts(Gumps(), 65535), QStringList({"FFFF", "8", "FFFF"}));

        Gumps()->selectionModel()->select(
            QItemSelection(Gumps()->model()->index(1000, 0), Gumps()->model()->index(30999, 3)),
            QItemSelectionModel::Select | QItemSelectionModel::Rows);
        timer.restart();
        PopupMenu_Run("DELETE 12");
        const qint64 deleteMs = timer.elapsed();
        QCOMPARE(PatchBlocks[12].Count, 65536 - 30000);
        QCOMPARE(Gumps()->model()->rowCount(), 65536 - 30000);
        QCOMPARE(RowTexts(Gumps(), 1000), QStringList({"7918", "8", "7918"}));
        QVERIFY(NodeTexts(form->twMenu).contains("Gumps (35536)"));
        qInfo("full Gumps type: MenuRefresh %lld ms, delete of 30000 rows %lld ms", refreshMs, deleteMs);
        form->mnuNew_Click();
    }

    // The map page draws one pixel per block; a rectangle dragged on it and
    // deleted through the popup leaves exactly the blocks outside it.
    void mapPageDrawsAndDeletesARectangle() {
        form->mnuNew_Click();
        RadarColors[5] = 0x00C000;  // green
        RadarColors[6] = 0x0000C0;  // red
        ByteArray block(196, 0);
        for (int32_t x = 0; x < 100; ++x) {
            for (int32_t y = 0; y < 80; ++y) {
                block[4] = static_cast<uint8_t>(x < 50 ? 5 : 6);
                StoreBlock(0, x * 512 + y, 196, -1, block);
            }
        }
        RecountBlocks(0);
        MenuRefresh();
        form->twMenu->setCurrentItem(Node(form->twMenu, "P0"));
        QCOMPARE(form->pageMap->Picture().pixel(10, 10), qRgb(0, 0xC0, 0));
        QCOMPARE(form->pageMap->Picture().pixel(60, 79), qRgb(0xC0, 0, 0));
        QVERIFY(form->pageMap->Picture().pixel(100, 10) != qRgb(0xC0, 0, 0));
        guitest::Screenshot(form, "map-page");

        // Dragged from lower right to upper left: blocks x 20..29, y 30..39.
        QTest::mousePress(form->pageMap, Qt::LeftButton, {}, QPoint(29, 39));
        QTest::mouseRelease(form->pageMap, Qt::LeftButton, {}, QPoint(20, 30));
        PopupMenu_Run("DELETE 0");
        QCOMPARE(PatchBlocks[0].Count, 100 * 80 - 100);
        QCOMPARE(Slot(0, 20 * 512 + 30).Offset, -1);
        QCOMPARE(Slot(0, 29 * 512 + 39).Offset, -1);
        QVERIFY(Slot(0, 30 * 512 + 30).Offset > 0);
        QVERIFY(Slot(0, 20 * 512 + 40).Offset > 0);
        QVERIFY(NodeTexts(form->twMenu).contains("Map (7900)"));
        QVERIFY(form->pageMap->X1 == -1);  // redrawn: the selection is gone
        form->mnuNew_Click();
    }

    void quitDisposesThePatch() {
        const std::string scratch = DataFileName;
        QVERIFY(::access(scratch.c_str(), F_OK) == 0);
        form->mnuQuit->trigger();
        QVERIFY(!form->isVisible());
        QVERIFY(::access(scratch.c_str(), F_OK) != 0);
    }
};

QTEST_MAIN(tst_frmStart)
#include "tst_frmStart.moc"
