// The four dialogs of patch building driven as a user drives them: what they
// show on opening, what each selection shows, what a click with a missing
// file does (nothing), which loader gets which limits, the refresh after it,
// and Cancel.
#include <QAction>
#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QMenu>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QSettings>
#include <QStatusBar>
#include <QTreeWidget>
#include <QtTest>

#include <optional>

#include "FileDialogs.h"
#include "GuiTestEnv.h"
#include "frmCompare.h"
#include "frmExport.h"
#include "frmGump.h"
#include "frmImport.h"
#include "frmStart.h"
#include "mMenu.h"
#include "core/AppInfo.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "core/mStart.h"
#include "core/mWait.h"
#include "formats/cMUL.h"
#include "formats/cMUO.h"
#include "formats/cUOP.h"
#include "formats/cVerdata.h"

using namespace quillet;

namespace {

// One Wait_Start as the user saw it.
struct WaitSeen {
    QString text;
    bool dialogVisible;
    bool mainWindowEnabled;
};

ByteArray Bytes(int size, int seed) {
    ByteArray bytes(static_cast<size_t>(size));
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(seed * 31 + static_cast<int>(i));
    return bytes;
}

// An IDX/MUL pair; a missing entry is an empty record.
void WriteIdxMul(const QString& idx, const QString& mul, const std::vector<std::optional<ByteArray>>& blocks) {
    cMUL file;
    QCOMPARE(file.cOpen(idx.toStdString(), mul.toStdString(), 0, 0, 0), 0);
    for (size_t i = 0; i < blocks.size(); ++i) {
        const auto index = static_cast<int32_t>(i);
        if (blocks[i]) file.cSave(index, 1000 + index, *blocks[i], false);
        else file.cSave(index, -1, ByteArray{}, true);
    }
    file.cClose();
}

void WriteFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

QStringList ComboTexts(QComboBox* combo) {
    QStringList texts;
    for (int i = 0; i < combo->count(); ++i) texts << combo->itemText(i);
    return texts;
}

QList<int> ComboData(QComboBox* combo) {
    QList<int> data;
    for (int i = 0; i < combo->count(); ++i) data << combo->itemData(i).toInt();
    return data;
}

bool SmallPicture(const QString& path) {
    QImage picture(2, 2, QImage::Format_RGB32);
    picture.fill(Qt::white);
    return picture.save(path, "BMP");
}

bool Shown(QWidget* control) { return !control->isHidden(); }

uint16_t U16(const ByteArray& bytes, size_t at) { return static_cast<uint16_t>(bytes[at] | bytes[at + 1] << 8); }
int32_t I32(const ByteArray& bytes, size_t at) { return LoadI32(bytes.data() + at); }

}  // namespace

class tst_dialogs : public QObject {
    Q_OBJECT

private:
    guitest::Environment env;
    frmStart* form = nullptr;
    QPointer<QWidget> watched;  // the dialog whose visibility each wait records
    std::vector<WaitSeen> waits;

    QStringList TreeTexts() {
        QStringList texts;
        QTreeWidgetItem* root = form->twMenu->topLevelItem(0);
        for (int i = 0; root && i < root->childCount(); ++i) texts << root->child(i)->text(0);
        return texts;
    }
    // A tree that no refresh has rebuilt since.
    void MarkTreeStale() { form->twMenu->topLevelItem(0)->child(0)->setText(0, "stale"); }
    bool TreeStale() { return TreeTexts().first() == "stale"; }
    QString P(const QString& name) { return env.Path(name); }

    void NewPatch() {
        PatchDispose();
        PatchNew();
        MenuRefresh();
        waits.clear();
        env.messages.clear();
    }

    QString LogText() {
        QFile log(P("test.log"));
        return log.open(QIODevice::ReadOnly) ? QString::fromUtf8(log.readAll()) : QString();
    }

    // A dialog on a fresh patch, shown as the menu command shows it.
    template <typename Dialog>
    std::unique_ptr<Dialog> Open() {
        NewPatch();
        auto dialog = std::make_unique<Dialog>(form);
        dialog->show();
        watched = dialog.get();
        return dialog;
    }

    // Import through the dialog: selection, file, limits; answers the dialog
    // after the click.
    std::unique_ptr<frmImport> RunImport(int listIndex, const QString& mul, const QString& idx, const QString& fileFrom,
                                         const QString& fileTo, const QString& blockFrom, const QString& blockTo) {
        auto dialog = Open<frmImport>();
        dialog->cboMULType->setCurrentIndex(listIndex);
        dialog->txtMUL->setText(mul);
        dialog->txtIDX->setText(idx);
        dialog->txtFileIDFrom->setText(fileFrom);
        dialog->txtFileIDTo->setText(fileTo);
        dialog->txtBlockFrom->setText(blockFrom);
        dialog->txtBlockTo->setText(blockTo);
        MarkTreeStale();
        QTest::mouseClick(dialog->cmdImport, Qt::LeftButton);
        return dialog;
    }

    // After a finished operation: it ran hidden (or, for the gump, in
    // sight) with the main window disabled, and everything is back.
    void CheckRanAndClosed(QDialog* dialog, bool Unloaded, const QString& waitText, bool visibleDuringWait = false) {
        QVERIFY(Unloaded);
        QVERIFY(!dialog->isVisible());
        // The first wait is the operation's own; MenuRefresh brings its own
        // behind it.
        QVERIFY(!waits.empty());
        QCOMPARE(waits.front().text, waitText);
        QCOMPARE(waits.front().dialogVisible, visibleDuringWait);
        QVERIFY(!waits.front().mainWindowEnabled);
        QVERIFY(form->mnuOpen->isEnabled());
        QVERIFY(!form->Waiting());
    }

    // After a click that must do nothing.
    void CheckNothingHappened(QDialog* dialog, bool Unloaded) {
        QVERIFY(!Unloaded);
        QVERIFY(dialog->isVisible());
        QVERIFY(waits.empty());
        QVERIFY(TreeStale());
        QVERIFY(form->mnuOpen->isEnabled());
    }

    static std::vector<int32_t> PresentBlocks(int FileID) {
        std::vector<int32_t> present;
        const auto& blocks = PatchBlocks[static_cast<size_t>(FileID)].Blocks;
        for (size_t i = 0; i < blocks.size(); ++i)
            if (blocks[i].Offset != -1) present.push_back(static_cast<int32_t>(i));
        return present;
    }

private Q_SLOTS:
    void initTestCase() {
        form = &frmStart::Instance();
        form->show();
        QCoreApplication::processEvents();
        PatchNew();
        MenuRefresh();
        WaitHooks hooks = CurrentWaitHooks();
        hooks.message = [this](const std::string& text) { env.messages.push_back(text); };
        auto start = hooks.start;
        hooks.start = [this, start](const std::string& text) {
            start(text);
            waits.push_back({QString::fromStdString(text), watched && watched->isVisible(), form->mnuOpen->isEnabled()});
        };
        InstallWaitHooks(hooks);
    }

    // ---- Import

    void importOpensOnMUO() {
        auto dialog = Open<frmImport>();
        QCOMPARE(dialog->objectName(), QString("frmImport"));
        QCOMPARE(dialog->windowTitle(), QString("Import"));
        QCOMPARE(ComboTexts(dialog->cboMULType),
                 QStringList({"MUO Patchfile (*.MUO)", "Verdata (Verdata.mul)", "UOP Patchfile (*.UOP)", "Map (0)",
                              "Statics (2)", "Art (4)", "Anim (6)", "Sound (8)", "Texmaps (10)", "Gumps (12)",
                              "Multis (14)", "Skills (16)", "Tiledata (30)", "Animdata (31)", "Hues (32)",
                              "Light (128)", "Radarcol (129)"}));
        QCOMPARE(ComboData(dialog->cboMULType),
                 QList<int>({302, 301, 300, 0, 2, 4, 6, 8, 10, 12, 14, 16, 30, 31, 32, 128, 129}));
        QCOMPARE(dialog->cboMULType->currentIndex(), 0);
        QCOMPARE(dialog->txtMUL->text(), QString());
        QCOMPARE(dialog->txtFileIDFrom->text(), QString("0"));
        QCOMPARE(dialog->txtFileIDTo->text(), QString("255"));
        QCOMPARE(dialog->txtBlockFrom->text(), QString("0"));
        QCOMPARE(dialog->txtBlockTo->text(), QString("400000"));
        QVERIFY(!Shown(dialog->txtIDX) && !Shown(dialog->lblIDX) && !Shown(dialog->cmdIDX));
        QVERIFY(Shown(dialog->txtFileIDFrom) && Shown(dialog->lblFileID) && Shown(dialog->lblFileIDTo));
        QVERIFY(dialog->StatusBar1->currentMessage().isEmpty());
        guitest::Screenshot(dialog.get(), "frmImport");
    }

    void importSelectionShowsWhatItNeeds() {
        auto dialog = Open<frmImport>();
        // Each group of controls as one word: "idx" when the whole IDX line
        // shows, "ids" when all of the FileID limits show; a group that is
        // half shown spoils the word.
        auto rows = [&] {
            auto group = [](std::initializer_list<QWidget*> controls, const char* word) {
                int shown = 0;
                for (QWidget* control : controls) shown += Shown(control) ? 1 : 0;
                return shown == 0 ? QString() : shown == int(controls.size()) ? QString(word) : QString("half");
            };
            return group({dialog->txtIDX, dialog->lblIDX, dialog->cmdIDX}, "idx") +
                   group({dialog->txtFileIDFrom, dialog->txtFileIDTo, dialog->lblFileID, dialog->lblFileIDTo}, "ids") +
                   group({dialog->lblMUL, dialog->txtMUL, dialog->cmdMUL, dialog->Label3, dialog->txtBlockFrom,
                          dialog->Label4, dialog->txtBlockTo},
                         "");
        };
        const QStringList expected = {"ids", "ids", "ids", "",    "idx", "idx", "idx", "idx", "idx",
                                      "idx", "idx", "idx", "",    "idx", "",    "idx", ""};
        for (int index = 0; index < dialog->cboMULType->count(); ++index) {
            dialog->cboMULType->setCurrentIndex(index);
            QCOMPARE(rows(), expected[index]);
            QCOMPARE(dialog->lblMUL->text(), QString("MUL:"));
        }
        dialog->cboMULType->setCurrentIndex(5);
        guitest::Screenshot(dialog.get(), "frmImport-art");
    }

    void importBrowseButtons() {
        auto dialog = Open<frmImport>();
        QStringList asked;
        QString answer;
        SetFileDialogOverride([&](bool save, const QString& filter, const QString& title, const QString& dir) {
            asked << QString("%1|%2|%3|%4").arg(save).arg(title, filter, dir);
            return answer;
        });
        const QString dir = QString::fromStdString(gFileIO.exepath);
        for (int index : {0, 1, 2, 3, 12}) {
            dialog->cboMULType->setCurrentIndex(index);
            answer = P("chosen" + QByteArray::number(index));  // need not exist
            QTest::mouseClick(dialog->cmdMUL, Qt::LeftButton);
            QCOMPARE(dialog->txtMUL->text(), answer);
        }
        QCOMPARE(asked, QStringList({"0|Patchfile|Patchfile (*.muo)|" + dir, "0|Verdata.mul|Verdata (*.mul)|" + dir,
                                     "0|Patchfile|Patchfile (*.uop)|" + dir,
                                     "0|Import from mul file|Mul file (*.mul)|" + dir,
                                     "0|Import from mul file|Mul file (*.mul)|" + dir}));
        answer = "";  // cancelled: the box keeps its text
        QTest::mouseClick(dialog->cmdMUL, Qt::LeftButton);
        QCOMPARE(dialog->txtMUL->text(), P("chosen12"));

        dialog->cboMULType->setCurrentIndex(5);
        asked.clear();
        answer = P("missing.idx");  // an index must exist to be taken
        QTest::mouseClick(dialog->cmdIDX, Qt::LeftButton);
        QCOMPARE(dialog->txtIDX->text(), QString());
        WriteFile(P("art.idx"), QByteArray(12, '\0'));
        answer = P("art.idx");
        QTest::mouseClick(dialog->cmdIDX, Qt::LeftButton);
        QCOMPARE(dialog->txtIDX->text(), P("art.idx"));
        QCOMPARE(asked.first(), "0|Open MUL index|MUL index (*.idx);;MUL index (*.mul)|" + dir);
        SetFileDialogOverride(nullptr);
    }

    void importWithAMissingFileDoesNothing() {
        // No file named.
        auto dialog = RunImport(0, "", "", "0", "255", "0", "400000");
        CheckNothingHappened(dialog.get(), dialog->Unloaded());
        // A file that is not there.
        dialog = RunImport(1, P("nowhere.mul"), "", "0", "255", "0", "400000");
        CheckNothingHappened(dialog.get(), dialog->Unloaded());
        // Art wants its index too.
        WriteIdxMul(P("art.idx"), P("art.mul"), {Bytes(8, 1)});
        dialog = RunImport(5, P("art.mul"), "", "0", "255", "0", "400000");
        CheckNothingHappened(dialog.get(), dialog->Unloaded());
        QCOMPARE(PatchBlocks[4].Count, 0);
    }

    // Each branch with the limits a user may type: 2.5 reads as 2, 3.5 as 4,
    // "&H10" as 16, "12abc" as 12, an empty box as 0.
    void importMUOFileWithLimits() {
        cMUO muo;
        QCOMPARE(muo.cCreate(P("limits.muo").toStdString()), 0);
        for (int block = 0; block <= 6; ++block) muo.cSave(4, block, block, Bytes(3, block), 3);
        muo.cSave(2, 3, 0, Bytes(7, 2), 7);     // below the FileID range
        muo.cSave(16, 3, 0, Bytes(2, 3), 2);    // its upper end, "&H10"
        muo.cSave(30, 3, 0, Bytes(836, 4), 836);  // above it
        muo.cClose();
        auto dialog = RunImport(0, P("limits.muo"), "", "4", "&H10", "2.5", "3.5");
        CheckRanAndClosed(dialog.get(), dialog->Unloaded(), "Importing MUO file. Please wait.");
        QCOMPARE(PresentBlocks(4), (std::vector<int32_t>{2, 3, 4}));
        QCOMPARE(ReadBlockBytes(4, 3), Bytes(3, 3));
        QCOMPARE(PresentBlocks(16), std::vector<int32_t>{3});
        QVERIFY(PresentBlocks(2).empty());
        QVERIFY(PresentBlocks(30).empty());
        QVERIFY(!TreeStale());
        QVERIFY(TreeTexts().contains("Art (3)"));
        QVERIFY(TreeTexts().contains("Skills (1)"));
        QCOMPARE(dialog->result(), int(QDialog::Accepted));
    }

    void importUOPFileWithLimits() {
        cUOP uop;
        QCOMPARE(uop.cCreate(P("limits.uop").toStdString()), 0);
        for (int block = 0; block <= 3; ++block) uop.cSave(12, block, 0x00100010, Bytes(5, block), 5);
        uop.cSave(14, 0, 0, Bytes(5, 9), 5);
        uop.cSave(10, 0, 0, Bytes(5, 9), 5);
        uop.cClose();
        auto dialog = RunImport(2, P("limits.uop"), "", "12abc", " 12", "", "1.5");
        CheckRanAndClosed(dialog.get(), dialog->Unloaded(), "Importing UOP file. Please wait.");
        QCOMPARE(PresentBlocks(12), (std::vector<int32_t>{0, 1, 2}));
        QCOMPARE(Slot(12, 2).Extra, 0x00100010);
        QVERIFY(PresentBlocks(14).empty() && PresentBlocks(10).empty());
        QVERIFY(TreeTexts().contains("Gumps (3)"));
    }

    void importVerdataWithLimits() {
        cVerdata verdata;
        QCOMPARE(verdata.cCreate(P("verdata-in.mul").toStdString(), 4), 0);
        verdata.cSave(31, 0, 7, Bytes(6, 1), 6);
        verdata.cSave(31, 1, 7, Bytes(6, 2), 6);
        verdata.cSave(32, 0, 0, Bytes(1220, 3), 1220);
        verdata.cSave(16, 0, 0, Bytes(4, 4), 4);
        verdata.cClose();
        // An empty upper block limit counts as 0.
        auto dialog = RunImport(1, P("verdata-in.mul"), "", "&H1F", "32", "0", "");
        CheckRanAndClosed(dialog.get(), dialog->Unloaded(), "Importing Verdata. Please wait.");
        QCOMPARE(PresentBlocks(31), std::vector<int32_t>{0});
        QCOMPARE(ReadBlockBytes(31, 0), Bytes(6, 1));
        QCOMPARE(PresentBlocks(32), std::vector<int32_t>{0});
        QVERIFY(PresentBlocks(16).empty());
    }

    void importMULFileWithLimits() {
        WriteIdxMul(P("art.idx"), P("art.mul"),
                    {Bytes(10, 0), Bytes(11, 1), Bytes(12, 2), std::nullopt, Bytes(14, 4), Bytes(15, 5)});
        // The FileID boxes are hidden for a file type and not read, whatever
        // they hold.
        auto dialog = RunImport(5, P("art.mul"), P("art.idx"), "999", "nonsense", "&H2", "4.5");
        CheckRanAndClosed(dialog.get(), dialog->Unloaded(), "Importing MUL data. Please wait");
        QCOMPARE(PresentBlocks(4), (std::vector<int32_t>{2, 3, 4}));
        QCOMPARE(ReadBlockBytes(4, 4), Bytes(14, 4));
        QCOMPARE(Slot(4, 4).Extra, 1004);
        QCOMPARE(Slot(4, 3).Offset, 0);  // empty in the source: present and empty
        QCOMPARE(Slot(4, 3).Size, -1);
        QVERIFY(TreeTexts().contains("Art (3)"));
    }

    void importMapNeedsNoIndex() {
        QByteArray map;
        for (int block = 0; block < 4; ++block) map.append(QByteArray(196, static_cast<char>(block + 1)));
        WriteFile(P("map0.mul"), map);
        // An IDX text left over from an earlier selection is ignored.
        auto dialog = RunImport(3, P("map0.mul"), P("left-over.idx"), "0", "255", "1", "2");
        CheckRanAndClosed(dialog.get(), dialog->Unloaded(), "Importing MUL data. Please wait");
        QCOMPARE(PresentBlocks(0), (std::vector<int32_t>{1, 2}));
        QCOMPARE(ReadBlockBytes(0, 2), ByteArray(196, 3));
        QCOMPARE(Slot(0, 2).Extra, -1);
    }

    void importTiledataInTwoSections() {
        WriteFile(P("tiledata.mul"), QByteArray(512 * 836 + 512 * 1188, '\1'));
        auto dialog = RunImport(12, P("tiledata.mul"), "", "0", "255", "510.5", "513.5");
        CheckRanAndClosed(dialog.get(), dialog->Unloaded(), "Importing MUL data. Please wait");
        // 513.5 is 514: to even. The sections' sizes and places: ImportTest.
        QCOMPARE(PresentBlocks(30), (std::vector<int32_t>{510, 511, 512, 513, 514}));
        QVERIFY(TreeTexts().contains("Tiledata (5)"));
    }

    void importRangeTheWrongWayRoundStoresNothing() {
        WriteIdxMul(P("art.idx"), P("art.mul"), {Bytes(10, 0), Bytes(11, 1), Bytes(12, 2)});
        auto dialog = RunImport(5, P("art.mul"), P("art.idx"), "", "", "10", "5");
        CheckRanAndClosed(dialog.get(), dialog->Unloaded(), "Importing MUL data. Please wait");
        QCOMPARE(PatchBlocks[4].Count, 0);
        QVERIFY(!TreeStale());
    }

    // A limit outside its range never starts the import: the user is told,
    // the dialog stays with the box selected, the main window stays usable.
    void importLimitOutOfRange() {
        const struct {
            const char* fileTo;
            const char* blockTo;
            const char* box;
        } cases[] = {{"256", "5", "txtFileIDTo"}, {"-0.6", "5", "txtFileIDTo"}, {"255", "2147483648", "txtBlockTo"},
                     {"255", "&H1FFFFFFFF", "txtBlockTo"}};
        cMUO muo;
        QCOMPARE(muo.cCreate(P("one.muo").toStdString()), 0);
        muo.cSave(4, 1, 0, Bytes(3, 1), 3);
        muo.cClose();
        for (const auto& c : cases) {
            auto dialog = RunImport(0, P("one.muo"), "", "0", c.fileTo, "0", c.blockTo);
            CheckNothingHappened(dialog.get(), dialog->Unloaded());
            QCOMPARE(env.messages.size(), size_t{1});
            QVERIFY2(QString::fromStdString(env.messages[0]).startsWith("The limit \""), env.messages[0].c_str());
            QCOMPARE(dialog->focusWidget() ? dialog->focusWidget()->objectName() : QString(), QString(c.box));
            QVERIFY(LogText().contains("frmImport.cmdImport_Click"));
            QCOMPARE(PatchBlocks[4].Count, 0);
            // Put right, the same dialog imports.
            dialog->findChild<QLineEdit*>(c.box)->setText("5");
            QTest::mouseClick(dialog->cmdImport, Qt::LeftButton);
            QVERIFY(dialog->Unloaded());
            QCOMPARE(PatchBlocks[4].Count, 1);
        }
    }

    void importCancelAndPlace() {
        WriteIdxMul(P("art.idx"), P("art.mul"), {Bytes(10, 0)});
        auto dialog = Open<frmImport>();
        StoreBlock(8, 1, 1, 0, ByteArray{9});
        RecountBlocks(8);
        dialog->cboMULType->setCurrentIndex(5);
        dialog->txtMUL->setText(P("art.mul"));
        dialog->txtIDX->setText(P("art.idx"));
        dialog->txtBlockTo->setText("12");
        const QSize size = dialog->size();
        dialog->move(123, 45);
        QTest::mouseClick(dialog->cmdCancel, Qt::LeftButton);
        QVERIFY(dialog->Unloaded());
        QVERIFY(!dialog->isVisible());
        QCOMPARE(dialog->result(), int(QDialog::Rejected));
        QVERIFY(waits.empty());
        QCOMPARE(PatchBlocks[4].Count, 0);
        QCOMPARE(PatchBlocks[8].Count, 1);
        QVERIFY(QSettings(kAppTitle, kAppTitle).contains("frmImport/Left"));

        // The next opening: the saved place, the design's size, the defaults.
        frmImport again(form);
        QCOMPARE(again.pos(), QPoint(123, 45));
        QCOMPARE(again.size(), size);
        QCOMPARE(again.cboMULType->currentIndex(), 0);
        QCOMPARE(again.txtMUL->text(), QString());
        QCOMPARE(again.txtBlockTo->text(), QString("400000"));
    }

    // ---- Export

    void exportOpensOnVerdata() {
        auto dialog = Open<frmExport>();
        QCOMPARE(dialog->objectName(), QString("frmExport"));
        QCOMPARE(dialog->windowTitle(), QString("Export"));
        QCOMPARE(ComboTexts(dialog->cboMULType), QStringList({"Verdata (Verdata.mul)"}));
        QCOMPARE(ComboData(dialog->cboMULType), QList<int>({301}));
        QCOMPARE(dialog->cboMULType->currentIndex(), 0);
        guitest::Screenshot(dialog.get(), "frmExport");
    }

    void exportWritesVerdataBesideTheProgram() {
        cVerdata old;
        QCOMPARE(old.cCreate(P("verdata.mul").toStdString(), 1), 0);
        old.cSave(16, 0, 0, Bytes(4, 1), 4);
        old.cClose();

        // Cancel writes nothing.
        auto dialog = Open<frmExport>();
        StoreBlock(4, 7, 3, 0, Bytes(3, 7));
        RecountBlocks(4);
        QTest::mouseClick(dialog->cmdCancel, Qt::LeftButton);
        QVERIFY(dialog->Unloaded());
        QVERIFY(!QFile::exists(P("verdata.bak")));
        QCOMPARE(QFile(P("verdata.mul")).size(), qint64(4 + 20 + 4));

        dialog = std::make_unique<frmExport>(form);
        dialog->show();
        watched = dialog.get();
        MenuRefresh();
        waits.clear();
        MarkTreeStale();
        QTest::mouseClick(dialog->cmdExport, Qt::LeftButton);
        CheckRanAndClosed(dialog.get(), dialog->Unloaded(), "Exporting to verdata. Please wait.");
        QVERIFY(TreeStale());  // an export changes no patch: nothing is redrawn
        QCOMPARE(waits.size(), size_t{1});
        QVERIFY(QFile::exists(P("verdata.bak")));
        cVerdata written;
        QCOMPARE(written.cOpen(P("verdata.mul").toStdString()), 0);
        QCOMPARE(written.cCount(), 2);
        uint8_t id = 0;
        int32_t block = 0, extra = 0, size = 0;
        ByteArray bytes;
        written.cLoad(1, id, block, extra, bytes, size);
        QCOMPARE(int(id), 4);
        QCOMPARE(block, 7);
        QCOMPARE(bytes, Bytes(3, 7));
        written.cClose();
        QVERIFY(env.messages.empty());
    }

    void exportOfAnEmptyPatchTellsAndCloses() {
        auto dialog = Open<frmExport>();
        QTest::mouseClick(dialog->cmdExport, Qt::LeftButton);
        QVERIFY(dialog->Unloaded());
        QCOMPARE(env.messages.size(), size_t{1});
        QVERIFY(form->mnuOpen->isEnabled());
    }

    // A failure the export only logs (here an old file that counts more
    // entries than it holds) is still told, once, and the old file stays.
    void exportFailureThatIsOnlyLoggedIsTold() {
        const QByteArray untrusted("\x10\x00\x00\x00", 4);
        QFile file(P("verdata.mul"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(untrusted);
        file.close();
        auto dialog = Open<frmExport>();
        StoreBlock(4, 7, 3, 0, Bytes(3, 7));
        QTest::mouseClick(dialog->cmdExport, Qt::LeftButton);
        QVERIFY(dialog->Unloaded());
        QCOMPARE(env.messages.size(), size_t{1});
        QVERIFY2(QString::fromStdString(env.messages[0]).startsWith("verdata.mul was not written"), env.messages[0].c_str());
        QVERIFY(form->mnuOpen->isEnabled());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), untrusted);
        QVERIFY(!QFile::exists(P("verdata.tmp")));
    }

    // ---- Compare

    void compareOpensOnMap() {
        auto dialog = Open<frmCompare>();
        QCOMPARE(dialog->objectName(), QString("frmCompare"));
        QCOMPARE(dialog->windowTitle(), QString("Compare"));
        QCOMPARE(dialog->cboMULType->count(), 14);
        QCOMPARE(dialog->cboMULType->itemText(0), QString("Map (0)"));
        QCOMPARE(ComboData(dialog->cboMULType),
                 QList<int>({0, 2, 4, 6, 8, 10, 12, 14, 16, 30, 31, 32, 128, 129}));
        QCOMPARE(dialog->cboMULType->currentIndex(), 0);
        QCOMPARE(dialog->Label5->text(), QString("Origional/base muls:"));
        QList<QWidget*> idxRows = {dialog->txtIDX1, dialog->txtIDX2, dialog->cmdIDX1,
                                   dialog->cmdIDX2, dialog->lblIDX1, dialog->lblIDX2};
        for (QWidget* control : idxRows) QVERIFY(!Shown(control));
        guitest::Screenshot(dialog.get(), "frmCompare-map");
        dialog->cboMULType->setCurrentIndex(2);  // Art
        for (QWidget* control : idxRows) QVERIFY(Shown(control));
        guitest::Screenshot(dialog.get(), "frmCompare");
        dialog->cboMULType->setCurrentIndex(11);  // Hues
        for (QWidget* control : idxRows) QVERIFY(!Shown(control));
        QVERIFY(Shown(dialog->txtMUL1) && Shown(dialog->txtMUL2));
    }

    void compareBrowseButtons() {
        auto dialog = Open<frmCompare>();
        QStringList asked;
        QString answer;
        SetFileDialogOverride([&](bool, const QString& filter, const QString& title, const QString&) {
            asked << title + "|" + filter;
            return answer;
        });
        answer = P("base.mul");
        QTest::mouseClick(dialog->cmdMUL1, Qt::LeftButton);
        answer = P("new.mul");
        QTest::mouseClick(dialog->cmdMUL2, Qt::LeftButton);
        QCOMPARE(dialog->txtMUL1->text(), P("base.mul"));
        QCOMPARE(dialog->txtMUL2->text(), P("new.mul"));
        dialog->cboMULType->setCurrentIndex(2);
        answer = P("none.idx");
        QTest::mouseClick(dialog->cmdIDX1, Qt::LeftButton);
        QCOMPARE(dialog->txtIDX1->text(), QString());
        WriteFile(P("there.idx"), QByteArray(12, '\0'));
        answer = P("there.idx");
        QTest::mouseClick(dialog->cmdIDX2, Qt::LeftButton);
        QCOMPARE(dialog->txtIDX2->text(), P("there.idx"));
        QCOMPARE(asked, QStringList({"Import from mul file|Mul file (*.mul)", "Import from mul file|Mul file (*.mul)",
                                     "Open MUL index|MUL index (*.idx);;MUL index (*.mul)",
                                     "Open MUL index|MUL index (*.idx);;MUL index (*.mul)"}));
        SetFileDialogOverride(nullptr);
    }

    void compareArtSets() {
        WriteIdxMul(P("base.idx"), P("base.mul"), {Bytes(8, 0), Bytes(8, 1), Bytes(8, 2), Bytes(8, 3)});
        WriteIdxMul(P("new.idx"), P("new.mul"), {Bytes(8, 0), Bytes(8, 9), Bytes(8, 2), std::nullopt, Bytes(5, 4)});
        auto dialog = Open<frmCompare>();
        dialog->cboMULType->setCurrentIndex(2);
        dialog->txtMUL1->setText(P("base.mul"));
        dialog->txtMUL2->setText(P("new.mul"));
        dialog->txtIDX1->setText(P("base.idx"));
        MarkTreeStale();
        // Without the altered set's index nothing happens.
        QTest::mouseClick(dialog->cmdCompare, Qt::LeftButton);
        CheckNothingHappened(dialog.get(), dialog->Unloaded());
        dialog->txtIDX2->setText(P("new.idx"));
        QTest::mouseClick(dialog->cmdCompare, Qt::LeftButton);
        CheckRanAndClosed(dialog.get(), dialog->Unloaded(), "Comparing MUL data. Please wait.");
        QCOMPARE(PresentBlocks(4), (std::vector<int32_t>{1, 3, 4}));
        QCOMPARE(ReadBlockBytes(4, 1), Bytes(8, 9));
        QCOMPARE(Slot(4, 3).Offset, 0);
        QCOMPARE(Slot(4, 4).Size, 5);
        QVERIFY(TreeTexts().contains("Art (3)"));
    }

    void compareConstantSizeTypeWithoutIndex() {
        QByteArray base(65536 * 2, '\0');
        QByteArray altered = base;
        altered[2 * 5] = 0x1F;
        WriteFile(P("radarcol-base.mul"), base);
        WriteFile(P("radarcol-new.mul"), altered);
        // A missing base file: nothing.
        auto dialog = Open<frmCompare>();
        dialog->cboMULType->setCurrentIndex(13);  // Radarcol
        dialog->txtMUL1->setText(P("radarcol-none.mul"));
        dialog->txtMUL2->setText(P("radarcol-new.mul"));
        MarkTreeStale();
        QTest::mouseClick(dialog->cmdCompare, Qt::LeftButton);
        CheckNothingHappened(dialog.get(), dialog->Unloaded());
        dialog->txtMUL1->setText(P("radarcol-base.mul"));
        QTest::mouseClick(dialog->cmdCompare, Qt::LeftButton);
        CheckRanAndClosed(dialog.get(), dialog->Unloaded(), "Comparing MUL data. Please wait.");
        QCOMPARE(PresentBlocks(129), std::vector<int32_t>{5});
        QCOMPARE(ReadBlockBytes(129, 5), (ByteArray{0x1F, 0}));
    }

    // ---- Gump

    void gumpOpensEmpty() {
        auto dialog = Open<frmGump>();
        QCOMPARE(dialog->objectName(), QString("frmGump"));
        QCOMPARE(dialog->windowTitle(), QString("Import gump"));
        QCOMPARE(dialog->txtIndex->text(), QString("0x00"));
        QCOMPARE(dialog->txtPicture->text(), QString());
        guitest::Screenshot(dialog.get(), "frmGump");
    }

    void gumpBrowseTakesOnlyExistingFiles() {
        auto dialog = Open<frmGump>();
        QStringList asked;
        QString answer = P("none.bmp");
        SetFileDialogOverride([&](bool, const QString& filter, const QString& title, const QString&) {
            asked << title + "|" + filter;
            return answer;
        });
        QTest::mouseClick(dialog->cmdPicture, Qt::LeftButton);
        QCOMPARE(dialog->txtPicture->text(), QString());
        QVERIFY(SmallPicture(P("there.bmp")));
        answer = P("there.bmp");
        QTest::mouseClick(dialog->cmdPicture, Qt::LeftButton);
        QCOMPARE(dialog->txtPicture->text(), P("there.bmp"));
        QCOMPARE(asked.first(),
                 QString("Open picture|BMP picture (*.bmp);;JPG picture (*.jpg);;GIF Picture (*.gif)"));
        SetFileDialogOverride(nullptr);
    }

    void gumpFromBmp() {
        QImage black(4, 2, QImage::Format_RGB32);
        black.fill(Qt::black);
        QVERIFY(black.save(P("black.bmp"), "BMP"));
        auto dialog = Open<frmGump>();
        dialog->txtPicture->setText(P("black.bmp"));
        dialog->txtIndex->setText("0x10");
        MarkTreeStale();
        QTest::mouseClick(dialog->cmdImport, Qt::LeftButton);
        // The gump dialog stays in sight while it converts.
        CheckRanAndClosed(dialog.get(), dialog->Unloaded(), "Converting picture to gump. Please wait.", true);
        QCOMPARE(PresentBlocks(12), std::vector<int32_t>{16});
        QCOMPARE(Slot(12, 16).Size, 16);
        QCOMPARE(Slot(12, 16).Extra, 262146);
        QCOMPARE(ReadBlockBytes(12, 16), (ByteArray{2, 0, 0, 0, 3, 0, 0, 0, 0, 0, 4, 0, 0, 0, 4, 0}));
        QVERIFY(TreeTexts().contains("Gumps (1)"));
    }

    void gumpFromJpg() {
        QImage grey(6, 3, QImage::Format_RGB32);
        grey.fill(QColor(128, 128, 128));
        QVERIFY(grey.save(P("grey.jpg"), "JPG", 100));
        auto dialog = Open<frmGump>();
        dialog->txtPicture->setText(P("grey.jpg"));
        dialog->txtIndex->setText("10");
        QTest::mouseClick(dialog->cmdImport, Qt::LeftButton);
        CheckRanAndClosed(dialog.get(), dialog->Unloaded(), "Converting picture to gump. Please wait.", true);
        QCOMPARE(Slot(12, 10).Extra, (6 << 16) | 3);
        // One run of the whole width for each row: grey 128 (give or take
        // what JPEG makes of it) is 16, 16, 16 in five bits.
        const ByteArray block = ReadBlockBytes(12, 10);
        QCOMPARE(block.size(), size_t{24});
        for (int row = 0; row < 3; ++row) {
            QCOMPARE(I32(block, size_t(row) * 4), 3 + row);
            QCOMPARE(U16(block, 12 + size_t(row) * 4), uint16_t{16 * 1024 + 16 * 32 + 16});
            QCOMPARE(U16(block, 14 + size_t(row) * 4), uint16_t{6});
        }
    }

    void gumpFromGif() {
        // One red pixel, with a palette of two colours.
        WriteFile(P("red.gif"), QByteArray("GIF89a\x01\0\x01\0\x80\0\0\xff\0\0\0\0\0,\0\0\0\0\x01\0\x01\0\0\x02\x02\x44\x01\0;",
                                           35));
        auto dialog = Open<frmGump>();
        dialog->txtPicture->setText(P("red.gif"));
        dialog->txtIndex->setText("0X11");
        QTest::mouseClick(dialog->cmdImport, Qt::LeftButton);
        CheckRanAndClosed(dialog.get(), dialog->Unloaded(), "Converting picture to gump. Please wait.", true);
        QCOMPARE(Slot(12, 17).Extra, (1 << 16) | 1);
        QCOMPARE(ReadBlockBytes(12, 17), (ByteArray{1, 0, 0, 0, 0, 0x7C, 1, 0}));
    }

    void gumpThatCannotBeMade() {
        // Missing: nothing at all.
        auto dialog = Open<frmGump>();
        MarkTreeStale();
        dialog->txtPicture->setText(P("nothing.bmp"));
        QTest::mouseClick(dialog->cmdImport, Qt::LeftButton);
        CheckNothingHappened(dialog.get(), dialog->Unloaded());
        QVERIFY(env.messages.empty());

        // There but no picture: the user is told, the dialog stays.
        WriteFile(P("text.bmp"), "this is not a picture");
        dialog->txtPicture->setText(P("text.bmp"));
        QTest::mouseClick(dialog->cmdImport, Qt::LeftButton);
        CheckNothingHappened(dialog.get(), dialog->Unloaded());
        QCOMPARE(env.messages.size(), size_t{1});
        QVERIFY(QString::fromStdString(env.messages[0]).contains("could not be read as a picture"));

        // An index beyond 32 bits: told, the dialog stays.
        QVERIFY(SmallPicture(P("small.bmp")));
        dialog->txtPicture->setText(P("small.bmp"));
        dialog->txtIndex->setText("0x1FFFFFFFF");
        QTest::mouseClick(dialog->cmdImport, Qt::LeftButton);
        CheckNothingHappened(dialog.get(), dialog->Unloaded());
        QCOMPARE(env.messages.size(), size_t{2});
        QVERIFY(LogText().contains("frmGump.cmdImport_Click"));

        // An index past the Gumps type: the conversion logs it and stores
        // nothing, and the dialog closes as after a success.
        dialog->txtIndex->setText("65536");
        QTest::mouseClick(dialog->cmdImport, Qt::LeftButton);
        CheckRanAndClosed(dialog.get(), dialog->Unloaded(), "Converting picture to gump. Please wait.", true);
        QCOMPARE(PatchBlocks[12].Count, 0);
        QVERIFY(LogText().contains("mGumps.Gump_LoadBMP"));
    }

    // Cancel on a dialog filled for a run that would change the patch.
    void compareAndGumpCancel() {
        WriteIdxMul(P("base.idx"), P("base.mul"), {Bytes(8, 0)});
        WriteIdxMul(P("new.idx"), P("new.mul"), {Bytes(8, 1)});
        auto compare = Open<frmCompare>();
        compare->cboMULType->setCurrentIndex(2);
        compare->txtMUL1->setText(P("base.mul"));
        compare->txtIDX1->setText(P("base.idx"));
        compare->txtMUL2->setText(P("new.mul"));
        compare->txtIDX2->setText(P("new.idx"));
        QTest::mouseClick(compare->cmdCancel, Qt::LeftButton);
        QVERIFY(compare->Unloaded() && !compare->isVisible());

        QVERIFY(SmallPicture(P("small.bmp")));
        auto gump = Open<frmGump>();
        gump->txtPicture->setText(P("small.bmp"));
        QTest::mouseClick(gump->cmdCancel, Qt::LeftButton);
        QVERIFY(gump->Unloaded() && !gump->isVisible());
        QCOMPARE(PatchBlocks[4].Count, 0);
        QCOMPARE(PatchBlocks[12].Count, 0);
        QVERIFY(waits.empty());
    }

    // ---- The menu commands that open them

    void menuCommandsOpenTheDialogs() {
        const QStringList entries = [&] {
            QStringList names;
            for (QAction* action : form->mnuFile->actions()) names << action->objectName();
            return names;
        }();
        const int exportAt = static_cast<int>(entries.indexOf("mnuExport"));
        QCOMPARE(entries.mid(exportAt, 3), QStringList({"mnuExport", "mnuCompare", "mnuGump"}));
        const struct {
            const char* action;
            const char* dialog;
        } commands[] = {{"mnuImport", "frmImport"}, {"mnuExport", "frmExport"}, {"mnuCompare", "frmCompare"},
                        {"mnuGump", "frmGump"}};
        QCOMPARE(form->findChild<QAction*>("mnuCompare")->text(), QString("Compare..."));
        QCOMPARE(form->findChild<QAction*>("mnuGump")->text(), QString("Import gump..."));
        for (const auto& command : commands) {
            QString seen;
            bool modal = false;
            // The modal dialog is looked at and cancelled as soon as it shows.
            QTimer::singleShot(0, [&] {
                if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
                    seen = dialog->objectName();
                    modal = dialog->isModal() && dialog->parentWidget() == form;
                    dialog->findChild<QPushButton*>("cmdCancel")->click();
                }
            });
            form->findChild<QAction*>(command.action)->trigger();
            QCOMPARE(seen, QString(command.dialog));
            QVERIFY(modal);
        }

        // A whole import by way of the menu: the dialog hides inside its
        // modal loop, the import runs, the dialog goes.
        cMUO muo;
        QCOMPARE(muo.cCreate(P("menu.muo").toStdString()), 0);
        muo.cSave(14, 2, 0, Bytes(3, 1), 3);
        muo.cClose();
        NewPatch();
        QPointer<frmImport> opened;
        QTimer::singleShot(0, [&] {
            opened = qobject_cast<frmImport*>(QApplication::activeModalWidget());
            if (!opened) return;
            opened->txtMUL->setText(P("menu.muo"));
            opened->cmdImport->click();
        });
        form->mnuImport->trigger();
        QVERIFY(opened.isNull());  // gone with the command
        QCOMPARE(PresentBlocks(14), std::vector<int32_t>{2});
        QVERIFY(TreeTexts().contains("Multis (1)"));
        QVERIFY(form->mnuImport->isEnabled());
    }
};

QTEST_MAIN(tst_dialogs)
#include "tst_dialogs.moc"
