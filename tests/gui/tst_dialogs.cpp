// The four dialogs of patch building driven as a user drives them: what they
// show on opening, what each selection shows, what a click with a missing
// file does (nothing), how the boxes become the job's request, what the user
// sees during the job and after it, and Cancel. The jobs themselves (wait
// texts, loaders, what they store) are tested once in JobsTest and below it.
#include <QAction>
#include <QComboBox>
#include <QMenu>
#include <QMessageBox>
#include <QSettings>
#include <QtTest>

#include <algorithm>
#include <optional>

#include "FileDialogs.h"
#include "GuiTestEnv.h"
#include "actions/mStart.h"
#include "base/AppInfo.h"
#include "common/Bytes.h"
#include "core/BlockRows.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "formats/ClientUOPWriter.h"
#include "formats/cMUL.h"
#include "frmArt.h"
#include "frmCompare.h"
#include "frmExport.h"
#include "frmGump.h"
#include "frmImport.h"
#include "frmStart.h"
#include "mMenu.h"
#include "support/Services.h"

using namespace quillet;
using guitest::WriteAll;

namespace {

struct WaitSeen { QString text; bool dialogVisible, mainWindowEnabled; };  // one Wait_Start as the user saw it

// Block bytes told apart by their seed.
ByteArray Bytes(int size, int seed) { return test::Counting(static_cast<size_t>(size), seed * 31); }
// An IDX/MUL pair; a missing entry is an empty record.
void WriteIdxMul(const QString& idx, const QString& mul, const std::vector<std::optional<ByteArray>>& blocks) {
    QVERIFY(WriteAll(idx, QByteArray()) && WriteAll(mul, QByteArray()));  // cMUL only opens files that are there
    cMUL file;
    QCOMPARE(file.cOpen(idx.toStdString(), mul.toStdString(), 0, 0, 0), 0);
    for (size_t i = 0; i < blocks.size(); ++i) {
        const auto index = static_cast<int32_t>(i);
        if (blocks[i]) file.cSave(index, 1000 + index, *blocks[i], false);
        else file.cSave(index, -1, ByteArray{}, true);
    }
    file.cClose();
}
// The list's captions (Qt::DisplayRole) or FileIDs (Qt::UserRole).
QStringList ComboItems(QComboBox* combo, int role) {
    QStringList items;
    for (int i = 0; i < combo->count(); ++i) items << combo->itemData(i, role).toString();
    return items;
}
QStringList Texts(std::initializer_list<QLineEdit*> boxes) {
    QStringList texts;
    for (QLineEdit* box : boxes) texts << box->text();
    return texts;
}
void Click(QWidget* button) { QTest::mouseClick(button, Qt::LeftButton); }
bool SmallPicture(const QString& path) {
    QImage picture(2, 2, QImage::Format_RGB32);
    picture.fill(Qt::white);
    return picture.save(path, "BMP");
}
bool Shown(QWidget* control) { return !control->isHidden(); }
const QString kImportMul = "Importing MUL data. Please wait";

}  // namespace

class tst_dialogs : public QObject {
    Q_OBJECT

private:
    guitest::Environment env;
    frmStart* form = nullptr;
    QPointer<QWidget> watched;  // the dialog whose visibility each wait records
    std::vector<WaitSeen> waits;
    const QString dir = QString::fromStdString(gFileIO.exepath);  // where the file dialogs open

    QStringList TreeTexts() { return guitest::NodeTexts(form->twMenu); }
    void MarkTreeStale() { form->twMenu->topLevelItem(0)->child(0)->setText(0, "stale"); }  // no refresh since
    bool TreeStale() { return TreeTexts().first() == "stale"; }
    QString P(const QString& name) { return env.Path(name); }
    QString LogText() { return QString::fromUtf8(guitest::ReadAll(P("test.log"))); }
    void NewPatch() {
        PatchDispose();
        PatchNew();
        MenuRefresh();
        waits.clear();
        env.messages.clear();
    }
    // A dialog (on a fresh patch unless told), shown as the menu command shows it.
    template <typename Dialog>
    std::unique_ptr<Dialog> Open(bool fresh = true) {
        if (fresh) NewPatch();
        auto dialog = std::make_unique<Dialog>(form);
        dialog->show();
        watched = dialog.get();
        return dialog;
    }

    // Import: selection, texts of the MUL, IDX, FileID and block boxes; answers the dialog after the click.
    std::unique_ptr<frmImport> RunImport(int listIndex, const QStringList& texts) {
        auto dialog = Open<frmImport>();
        dialog->cboMULType->setCurrentIndex(listIndex);
        QLineEdit* boxes[] = {dialog->txtMUL, dialog->txtIDX, dialog->txtFileIDFrom, dialog->txtFileIDTo,
                              dialog->txtBlockFrom, dialog->txtBlockTo};
        for (int i = 0; i < 6; ++i) boxes[i]->setText(texts.value(i));
        MarkTreeStale();
        Click(dialog->cmdImport);
        return dialog;
    }

    // After a finished operation: it ran hidden (the gump in sight) with the main window disabled, and
    // everything is back. The first wait is the operation's own; MenuRefresh brings its own behind it.
    void CheckRanAndClosed(DialogForm* dialog, const QString& waitText, bool visibleDuringWait = false) {
        QVERIFY(dialog->Unloaded() && !dialog->isVisible() && !waits.empty());
        QCOMPARE(waits.front().text, waitText);
        QCOMPARE(waits.front().dialogVisible, visibleDuringWait);
        QVERIFY(!waits.front().mainWindowEnabled && form->mnuOpen->isEnabled() && !form->Waiting());
    }

    void CheckNothingHappened(DialogForm* dialog) {
        QVERIFY(!dialog->Unloaded() && dialog->isVisible());
        QVERIFY(waits.empty() && TreeStale() && form->mnuOpen->isEnabled());  // after a click that must do nothing
    }

private Q_SLOTS:
    void initTestCase() {
        form = &frmStart::Instance();
        form->show();
        QCoreApplication::processEvents();
        PatchNew();
        MenuRefresh();
        env.CaptureMessages();
        guitest::Environment::OnWaitStart([this](const std::string& text) {
            waits.push_back({QString::fromStdString(text), watched && watched->isVisible(), form->mnuOpen->isEnabled()});
        });
    }

    // Captions, lists and first texts of each dialog as it opens.
    void dialogsOpenWithTheirCaptionsAndLists() {
        auto import = Open<frmImport>();
        QCOMPARE(import->objectName() + "|" + import->windowTitle(), QString("frmImport|Import"));
        QCOMPARE(ComboItems(import->cboMULType, Qt::DisplayRole),
                 QStringList({"MUO Patchfile (*.MUO)", "Verdata (Verdata.mul)", "UOP Patchfile (*.UOP)", "Map (0)",
                              "Statics (2)", "Art (4)", "Anim (6)", "Sound (8)", "Texmaps (10)", "Gumps (12)",
                              "Multis (14)", "Skills (16)", "Tiledata (30)", "Animdata (31)", "Hues (32)",
                              "Light (128)", "Radarcol (129)"}));
        QCOMPARE(ComboItems(import->cboMULType, Qt::UserRole).join(","),
                 QString("302,301,300,0,2,4,6,8,10,12,14,16,30,31,32,128,129"));
        QCOMPARE(import->cboMULType->currentIndex(), 0);
        QCOMPARE(Texts({import->txtMUL, import->txtFileIDFrom, import->txtFileIDTo, import->txtBlockFrom,
                        import->txtBlockTo}),
                 QStringList({"", "0", "255", "0", "458751"}));
        QVERIFY(import->StatusBar1->currentMessage().isEmpty());
        guitest::Screenshot(import.get(), "frmImport");
        // Each selection's controls as one word: "idx" when the whole IDX line shows, "ids" when all
        // of the FileID limits show; a group that is half shown spoils the word.
        auto group = [](std::initializer_list<QWidget*> controls, const char* word) {
            int shown = 0;
            for (QWidget* control : controls) shown += Shown(control) ? 1 : 0;
            return shown == 0 ? QString() : shown == int(controls.size()) ? QString(word) : QString("half");
        };
        const QStringList expected = QString("ids,ids,ids,,idx,idx,idx,idx,idx,idx,idx,idx,,,,idx,").split(",");
        for (int index = 0; index < import->cboMULType->count(); ++index) {
            import->cboMULType->setCurrentIndex(index);
            QCOMPARE(
                group({import->txtIDX, import->lblIDX, import->cmdIDX}, "idx") +
                    group({import->txtFileIDFrom, import->txtFileIDTo, import->lblFileID, import->lblFileIDTo}, "ids") +
                    group({import->lblMUL, import->txtMUL, import->cmdMUL, import->Label3, import->txtBlockFrom,
                           import->Label4, import->txtBlockTo},
                          ""),
                expected[index]);
            QCOMPARE(import->lblMUL->text(), QString("MUL:"));
        }
        import->cboMULType->setCurrentIndex(5);
        guitest::Screenshot(import.get(), "frmImport-art");
        auto exporter = Open<frmExport>();
        QCOMPARE(exporter->objectName() + "|" + exporter->windowTitle(), QString("frmExport|Export"));
        QCOMPARE(ComboItems(exporter->cboMULType, Qt::DisplayRole), QStringList({"Verdata (Verdata.mul)"}));
        QCOMPARE(ComboItems(exporter->cboMULType, Qt::UserRole), QStringList({"301"}));
        guitest::Screenshot(exporter.get(), "frmExport");
        auto gump = Open<frmGump>();
        QCOMPARE(gump->objectName() + "|" + gump->windowTitle(), QString("frmGump|Import gump"));
        QCOMPARE(Texts({gump->txtIndex, gump->txtPicture}), QStringList({"0x00", ""}));
        guitest::Screenshot(gump.get(), "frmGump");
        auto art = Open<frmArt>();
        QCOMPARE(art->objectName() + "|" + art->windowTitle() + "|" + art->Label1->text(),
                 QString("frmArt|Import art|Art index:"));
        QCOMPARE(Texts({art->txtIndex, art->txtPicture}), QStringList({"0x4000", ""}));
        guitest::Screenshot(art.get(), "frmArt");
        // Compare opens on Map; the index lines show only for a type with an index.
        auto compare = Open<frmCompare>();
        QCOMPARE(compare->objectName() + "|" + compare->windowTitle(), QString("frmCompare|Compare"));
        QCOMPARE(compare->cboMULType->itemText(0), QString("Map (0)"));
        QCOMPARE(ComboItems(compare->cboMULType, Qt::UserRole).join(","),
                 QString("0,2,4,6,8,10,12,14,16,30,31,32,128,129"));
        QCOMPARE(compare->cboMULType->currentIndex(), 0);
        QCOMPARE(compare->Label5->text(), QString("Origional/base muls:"));
        const QList<QWidget*> idxRows = {compare->txtIDX1, compare->txtIDX2, compare->cmdIDX1,
                                         compare->cmdIDX2, compare->lblIDX1, compare->lblIDX2};
        auto idxShown = [&](bool shown) {
            return std::all_of(idxRows.begin(), idxRows.end(), [&](QWidget* c) { return Shown(c) == shown; });
        };
        QVERIFY(idxShown(false));
        guitest::Screenshot(compare.get(), "frmCompare-map");
        compare->cboMULType->setCurrentIndex(11);  // Hues
        QVERIFY(idxShown(false) && Shown(compare->txtMUL1) && Shown(compare->txtMUL2));
        compare->cboMULType->setCurrentIndex(10);  // Animdata: groups of a fixed size, no index file
        QVERIFY(idxShown(false));
        compare->cboMULType->setCurrentIndex(2);  // Art
        QVERIFY(idxShown(true));
        guitest::Screenshot(compare.get(), "frmCompare");
    }

    // Cancel on a filled dialog: nothing imported, the patch kept, the place kept for the next opening.
    void importCancelKeepsThePlace() {
        auto dialog = Open<frmImport>();
        StoreBlock(8, 1, 1, 0, ByteArray{9});
        RecountBlocks(8);
        dialog->cboMULType->setCurrentIndex(5);
        dialog->txtMUL->setText(P("art.mul"));
        dialog->txtIDX->setText(P("art.idx"));
        const QSize size = dialog->size();
        dialog->move(123, 45);
        Click(dialog->cmdCancel);
        QVERIFY(dialog->Unloaded() && !dialog->isVisible() && waits.empty());
        QCOMPARE(dialog->result(), int(QDialog::Rejected));
        QCOMPARE(QList<int>({PatchBlocks[4].Count, PatchBlocks[8].Count}), QList<int>({0, 1}));
        QVERIFY(QSettings(kAppTitle, kAppTitle).contains("frmImport/Left"));
        QCOMPARE(frmImport(form).geometry(), QRect(QPoint(123, 45), size));
    }

    void importWithAMissingFileDoesNothing() {
        WriteIdxMul(P("art.idx"), P("art.mul"), {Bytes(8, 1)});
        // No file named, a file that is not there, Art without its index.
        for (const auto& [index, mul] :
             {std::pair{0, QString()}, std::pair{1, P("nowhere.mul")}, std::pair{5, P("art.mul")}}) {
            auto dialog = RunImport(index, {mul, "", "0", "255", "0", QString::number(HighestBlock())});
            CheckNothingHappened(dialog.get());
        }
        QCOMPARE(PatchBlocks[4].Count, 0);
    }

    // A client's container in the MUL box: the IDX box goes out of sight and is not needed, in the Import
    // dialog and on each side of the Compare dialog; the container's blocks arrive.
    void containerNeedsNoIndexFile() {
        {
            ClientUOPWriter art(P("artLegacyMUL.uop").toStdString());
            art.Add("build/artlegacymul/00000002.tga", Bytes(5, 7), 1);
            art.Finish();
        }
        auto dialog = Open<frmImport>();
        dialog->cboMULType->setCurrentIndex(5);  // Art
        QVERIFY(dialog->txtIDX->isVisible());
        dialog->txtMUL->setText(P("artLegacyMUL.uop"));
        QVERIFY(!dialog->txtIDX->isVisible());
        dialog = RunImport(5, {P("artLegacyMUL.uop"), "", "0", "255", "0", "10"});
        CheckRanAndClosed(dialog.get(), "Importing MUL data. Please wait");
        QCOMPARE(PatchBlocks[4].Count, 11);  // blocks 0 to 10, block 2 with its 5 bytes
        QCOMPARE(PatchBlocks[4].Blocks[2].Size, 5);

        auto compare = Open<frmCompare>();
        compare->cboMULType->setCurrentIndex(2);  // Art
        compare->txtMUL1->setText(P("artLegacyMUL.uop"));
        QVERIFY(!compare->txtIDX1->isVisible() && compare->txtIDX2->isVisible());
    }

    // The boxes as a user may type them go into the request: 2.5 reads as 2, 3.5 and 4.5 as 4 (to even),
    // "&H10" as 16, "4abc" as 4, an empty box as 0. The FileID boxes are hidden for a file type and not
    // read, whatever they hold; a type without an index needs no IDX file, so a text left over from an
    // earlier selection stops nothing. Each source's loader and wait text: JobsTest; what the loaders
    // store: the loaders' tests. Here only which blocks arrive, and the tree that shows them.
    void importPassesItsLimitsToTheJob() {
        test::Bytes muo;
        muo.muoHeader(10);
        for (int block = 0; block <= 6; ++block) muo.muo(4, block, block, 3, Bytes(3, block));
        // Below the FileID range, its upper end ("&H10"), above it.
        QVERIFY(WriteAll(
            P("limits.muo"),
            muo.muo(2, 3, 0, 7, Bytes(7, 2)).muo(16, 3, 0, 2, Bytes(2, 3)).muo(30, 3, 0, 836, Bytes(836, 4)).b));
        WriteIdxMul(P("art.idx"), P("art.mul"),
                    {Bytes(10, 0), Bytes(11, 1), Bytes(12, 2), std::nullopt, Bytes(14, 4), Bytes(15, 5)});
        QVERIFY(
            WriteAll(P("map0.mul"), QByteArray(196, 1) + QByteArray(196, 2) + QByteArray(196, 3) + QByteArray(196, 4)));
        const struct {
            int listIndex;
            QStringList texts;  // MUL and IDX file (in the scratch directory), FileID and block limits
            QString wait;
            std::vector<std::pair<int, std::vector<int32_t>>> present;  // per FileID
            const char* node;
        } cases[] = {
            {0,
             {"limits.muo", "", "4abc", "&H10", "2.5", "3.5"},
             "Importing MUO file. Please wait.",
             {{4, {2, 3, 4}}, {16, {3}}, {2, {}}, {30, {}}},
             "Skills (1)"},
            {5, {"art.mul", "art.idx", "999", "nonsense", "&H2", "4.5"}, kImportMul, {{4, {2, 3, 4}}}, "Art (3)"},
            {3, {"map0.mul", "left-over.idx", "0", "255", "", "1.5"}, kImportMul, {{0, {0, 1, 2}}}, "Map (3)"},
        };
        for (const auto& c : cases) {
            auto dialog = RunImport(
                c.listIndex, QStringList{P(c.texts[0]), c.texts[1].isEmpty() ? "" : P(c.texts[1])} + c.texts.mid(2));
            CheckRanAndClosed(dialog.get(), c.wait);
            QCOMPARE(dialog->result(), int(QDialog::Accepted));
            for (const auto& [FileID, blocks] : c.present) QCOMPARE(ListedBlocks(FileID), blocks);
            QVERIFY2(!TreeStale() && TreeTexts().contains(c.node), qPrintable(c.texts[0]));
        }
    }

    // A limit outside its range never starts the import: the user is told,
    // the dialog stays with the box selected, the main window stays usable.
    // One box of each kind; where each parse's range ends: ConvertTest.
    void importLimitOutOfRange() {
        const struct {
            const char *fileTo, *blockTo, *box;
        } cases[] = {{"256", "5", "txtFileIDTo"}, {"255", "2147483648", "txtBlockTo"}};
        QVERIFY(WriteAll(P("one.muo"), test::Bytes{}.muoHeader(1).muo(4, 1, 0, 3, Bytes(3, 1)).b));
        for (const auto& c : cases) {
            auto dialog = RunImport(0, {P("one.muo"), "", "0", c.fileTo, "0", c.blockTo});
            CheckNothingHappened(dialog.get());
            QCOMPARE(env.messages.size(), size_t{1});
            QVERIFY2(QString::fromStdString(env.messages[0]).startsWith("The limit \""), env.messages[0].c_str());
            QCOMPARE(dialog->focusWidget() ? dialog->focusWidget()->objectName() : QString(), QString(c.box));
            QVERIFY(LogText().contains("frmImport.cmdImport_Click"));
            QCOMPARE(PatchBlocks[4].Count, 0);
            // Put right, the same dialog imports.
            dialog->findChild<QLineEdit*>(c.box)->setText("5");
            Click(dialog->cmdImport);
            QVERIFY(dialog->Unloaded());
            QCOMPARE(PatchBlocks[4].Count, 1);
        }
    }

    // An empty patch: told once (by the job), the dialog closes. Cancel writes nothing; Export writes
    // verdata.mul beside the program and redraws nothing (an export changes no patch). The file's layout
    // and the backup: ExportTest.
    void exportWritesVerdataBesideTheProgram() {
        auto dialog = Open<frmExport>();
        Click(dialog->cmdExport);
        QVERIFY(dialog->Unloaded() && form->mnuOpen->isEnabled());
        QCOMPARE(env.messages.size(), size_t{1});
        const ByteArray old = test::Bytes{}.le(1).verdata(16, 0, 24, 4, 0).raw(Bytes(4, 1)).b;
        QVERIFY(WriteAll(P("verdata.mul"), old));
        dialog = Open<frmExport>();
        StoreBlock(4, 7, 3, 0, Bytes(3, 7));
        Click(dialog->cmdCancel);
        QVERIFY(dialog->Unloaded() && !QFile::exists(P("verdata.bak")));
        QCOMPARE(guitest::ReadBytes(P("verdata.mul")), old);
        dialog = Open<frmExport>(false);
        MarkTreeStale();
        Click(dialog->cmdExport);
        CheckRanAndClosed(dialog.get(), "Exporting to verdata. Please wait.");
        QVERIFY(TreeStale() && env.messages.empty());
        QCOMPARE(waits.size(), size_t{1});
        QVERIFY(guitest::ReadBytes(P("verdata.mul")) != old);
    }

    // A failure the export only logs (here an old entry with a negative FileID) is still told, once;
    // the old file stays (ExportTest).
    void exportFailureThatIsOnlyLoggedIsTold() {
        // Count 1, then FileID -1 and four zero fields.
        QVERIFY(WriteAll(P("verdata.mul"), QByteArray("\x01\x00\x00\x00\xff\xff\xff\xff", 8) + QByteArray(16, '\0')));
        auto dialog = Open<frmExport>();
        StoreBlock(4, 7, 3, 0, Bytes(3, 7));
        Click(dialog->cmdExport);
        QVERIFY(dialog->Unloaded() && form->mnuOpen->isEnabled());
        QCOMPARE(env.messages.size(), size_t{1});
        QVERIFY2(QString::fromStdString(env.messages[0]).startsWith("verdata.mul was not written"),
                 env.messages[0].c_str());
    }

    // No verdata.mul beside the program: the user is asked. No: the dialog closes and nothing is written.
    // Yes: a new, empty verdata.mul takes the patch, without a backup. (The file's bytes: ExportTest.)
    void exportAsksBeforeItStartsANewVerdata() {
        for (const char* name : {"verdata.mul", "verdata.bak", "verdata.1.bak"}) QFile::remove(P(name));
        const auto clickExport = [this](QMessageBox::StandardButton answer) {
            auto dialog = Open<frmExport>();
            StoreBlock(4, 7, 3, 0, Bytes(3, 7));
            QString asked;
            QTimer::singleShot(0, [&] {
                if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                    asked = box->windowTitle() + "|" + box->text() + "|" +
                            QString::number(box->standardButtons() == (QMessageBox::Yes | QMessageBox::No));
                    box->button(answer)->click();
                }
            });
            Click(dialog->cmdExport);
            QVERIFY(dialog->Unloaded() && !dialog->isVisible() && form->mnuOpen->isEnabled());
            QCOMPARE(asked, QString(kAppTitle) + "|There is no verdata.mul in " + dir.chopped(1) +
                                ".\n\nCreate a new, empty verdata.mul there and export the patch into it?|1");
        };
        clickExport(QMessageBox::No);
        QVERIFY(waits.empty() && env.messages.empty() && !QFile::exists(P("verdata.mul")));
        clickExport(QMessageBox::Yes);
        QCOMPARE(waits.size(), size_t{1});
        QVERIFY(env.messages.empty() && !QFile::exists(P("verdata.bak")));
        QCOMPARE(guitest::ReadBytes(P("verdata.mul")).size(), size_t{4 + 20 + 3});
    }

    // Each first with a file missing (nothing happens), then with all: an Art set with indexes, Radarcol, of
    // constant size, without (its IDX boxes are not asked for). What differs and what is stored: CompareTest.
    void compareStoresWhatDiffers() {
        WriteIdxMul(P("base.idx"), P("base.mul"), {Bytes(8, 0), Bytes(8, 1), Bytes(8, 2), Bytes(8, 3)});
        WriteIdxMul(P("new.idx"), P("new.mul"), {Bytes(8, 0), Bytes(8, 9), Bytes(8, 2), std::nullopt, Bytes(5, 4)});
        QByteArray radar(65536 * 2, '\0');
        QVERIFY(WriteAll(P("radar-base.mul"), radar));
        radar[2 * 5] = 0x1F;
        QVERIFY(WriteAll(P("radar-new.mul"), radar));
        const struct {
            int listIndex, missing;
            QStringList files;  // base MUL and IDX, altered MUL and IDX
            const char* node;
        } cases[] = {{2, 3, {"base.mul", "base.idx", "new.mul", "new.idx"}, "Art (3)"},
                     {13, 0, {"radar-base.mul", "", "radar-new.mul", ""}, "Radarcol (1)"}};
        for (const auto& c : cases) {
            auto dialog = Open<frmCompare>();
            dialog->cboMULType->setCurrentIndex(c.listIndex);
            QLineEdit* boxes[] = {dialog->txtMUL1, dialog->txtIDX1, dialog->txtMUL2, dialog->txtIDX2};
            for (int i = 0; i < 4; ++i)
                boxes[i]->setText(c.files[i].isEmpty() ? QString() : P(i == c.missing ? "none" : c.files[i]));
            MarkTreeStale();
            Click(dialog->cmdCompare);
            CheckNothingHappened(dialog.get());
            boxes[c.missing]->setText(P(c.files[c.missing]));
            Click(dialog->cmdCompare);
            CheckRanAndClosed(dialog.get(), "Comparing MUL data. Please wait.");
            QVERIFY2(TreeTexts().contains(c.node), c.node);
        }
    }

    // What the user hears of an import or a compare: one message with the
    // warning icon, for a source that is no patch file (the failure, naming
    // the file), for a load that stopped part-way (the tree still shows what
    // came in) and for what was gone on past (every warning in one message).
    void importAndCompareTellOnceWhatFailedOrWasGoneOnPast() {
        const struct {
            const char* file;
            ByteArray bytes;
            QStringList says;  // what each line of the one message holds
            const char* node;
        } cases[] = {
            {"container.uop",
             test::Bytes{}.text("MYP").u8(0).le(5).le(0xD88).le(0).b,
             {"container.uop: Unsupported patchfile. It is a client UOP container"},
             "Art (0)"},
            {"stops.uop",
             test::Bytes{}.uopHeader(4, 2).uop(4, 7, 1, 0, {1}).uop(1, 0, 0, 0).b,
             {"stops.uop, entry 1: Subscript out of range"},
             "Art (1)"},
            {"short.uop",
             test::Bytes{}.uopHeader(4, 3).uop(4, 7, 5, 0, {1, 2}).b,
             {"short.uop: 2 blocks reach past the end", "short.uop: the file counts 3 entries but ends after 1"},
             "Art (1)"},
        };
        for (const auto& c : cases) {
            QVERIFY(WriteAll(P(c.file), c.bytes));
            env.warnings.clear();
            auto dialog = RunImport(2, {P(c.file), "", "0", "255", "0", QString::number(HighestBlock())});
            CheckRanAndClosed(dialog.get(), "Importing UOP file. Please wait.");
            QCOMPARE(env.warnings.size(), size_t{1});
            const QStringList lines = QString::fromStdString(env.warnings[0]).split("\r\n");
            QCOMPARE(lines.size(), c.says.size());
            for (int i = 0; i < lines.size(); ++i) QVERIFY2(lines[i].contains(c.says[i]), qPrintable(lines[i]));
            QVERIFY2(TreeTexts().contains(c.node), c.file);
            QVERIFY(env.messages.empty());
        }
        // A radar colour file cut after 5 colours: the other blocks compare as zeros, said once.
        QVERIFY(WriteAll(P("radar-short.mul"), QByteArray(10, '\x11')));
        QVERIFY(WriteAll(P("radar-zero.mul"), QByteArray(65536 * 2, '\0')));
        env.warnings.clear();
        auto dialog = Open<frmCompare>();
        dialog->cboMULType->setCurrentIndex(13);
        dialog->txtMUL1->setText(P("radar-zero.mul"));
        dialog->txtMUL2->setText(P("radar-short.mul"));
        Click(dialog->cmdCompare);
        CheckRanAndClosed(dialog.get(), "Comparing MUL data. Please wait.");
        QCOMPARE(env.warnings, std::vector<std::string>{P("radar-short.mul").toStdString() +
                                                        ": 65531 blocks reach past the end of the file; the missing "
                                                        "bytes were read as zeros."});
        QVERIFY(TreeTexts().contains("Radarcol (5)"));
    }

    // Each picture kind the dialog reads, by its content, with index forms a user may type; the size the
    // gump slot records shows the picture was read whole. Pixels to gump: GumpTest and the CLI's tests.
    void gumpFromEachPictureKind() {
        QImage black(4, 2, QImage::Format_RGB32), grey(6, 3, QImage::Format_RGB32);
        black.fill(Qt::black);
        grey.fill(QColor(128, 128, 128));
        QVERIFY(black.save(P("black.bmp"), "BMP") && grey.save(P("grey.jpg"), "JPG", 100));
        // One red pixel, with a palette of two colours.
        QVERIFY(WriteAll(
            P("red.gif"),
            QByteArray("GIF89a\x01\0\x01\0\x80\0\0\xff\0\0\0\0\0,\0\0\0\0\x01\0\x01\0\0\x02\x02\x44\x01\0;", 35)));
        const struct {
            const char *file, *index;
            int32_t block, extra;  // width and height
        } cases[] = {{"black.bmp", "0x10", 16, (4 << 16) | 2}, {"grey.jpg", "10", 10, (6 << 16) | 3},
                     {"red.gif", "0X11", 17, (1 << 16) | 1}};
        for (const auto& c : cases) {
            auto dialog = Open<frmGump>();
            dialog->txtPicture->setText(P(c.file));
            dialog->txtIndex->setText(c.index);
            MarkTreeStale();
            Click(dialog->cmdImport);
            CheckRanAndClosed(dialog.get(), "Converting picture to gump. Please wait.",
                              true);  // in sight while it converts
            QCOMPARE(ListedBlocks(12), std::vector<int32_t>{c.block});
            QCOMPARE(Slot(12, c.block).Extra, c.extra);
            QVERIFY(TreeTexts().contains("Gumps (1)"));
        }
    }

    // A missing picture: nothing at all. A file that is no picture, or an
    // index beyond 32 bits: the user is told, the dialog stays.
    void gumpThatCannotBeMade() {
        QVERIFY(WriteAll(P("text.bmp"), "this is not a picture") && SmallPicture(P("small.bmp")));
        auto dialog = Open<frmGump>();
        MarkTreeStale();
        for (const auto& [picture, index] :
             {std::pair{"nothing.bmp", "0x00"}, {"text.bmp", "0x00"}, {"small.bmp", "0x1FFFFFFFF"}}) {
            dialog->txtPicture->setText(P(picture));
            dialog->txtIndex->setText(index);
            Click(dialog->cmdImport);
            CheckNothingHappened(dialog.get());
        }
        QCOMPARE(env.messages.size(), size_t{2});
        QCOMPARE(QString::fromStdString(env.messages[0]),
                 "The file " + P("text.bmp") +
                     " could not be read as a picture. A gump is made from a BMP, JPG, GIF or PNG file.");
        QVERIFY(LogText().contains("frmGump.cmdImport_Click"));
        // An index past the Gumps type: the job refuses it (JobsTest); the dialog says no more and closes
        // as after a success.
        dialog->txtIndex->setText("65536");
        Click(dialog->cmdImport);
        CheckRanAndClosed(dialog.get(), "Converting picture to gump. Please wait.", true);
        QCOMPARE(env.messages.size(), size_t{2});
    }

    // A land tile from a 44 by 44 PNG, an item from a picture of any size: each added under its number.
    void artFromPictures() {
        QImage tile(44, 44, QImage::Format_ARGB32), item(30, 20, QImage::Format_ARGB32);
        tile.fill(QColor(0, 128, 0));
        item.fill(Qt::transparent);
        item.setPixel(3, 4, qRgb(255, 0, 0));
        QVERIFY(tile.save(P("tile.png"), "PNG") && item.save(P("item.png"), "PNG"));
        NewPatch();
        for (const auto& [file, index] : {std::pair{"tile.png", "0x10"}, {"item.png", "0x4005"}}) {
            auto dialog = Open<frmArt>(false);
            dialog->txtPicture->setText(P(file));
            dialog->txtIndex->setText(index);
            MarkTreeStale();
            waits.clear();
            Click(dialog->cmdImport);
            CheckRanAndClosed(dialog.get(), "Converting picture to art. Please wait.", true);
        }
        QCOMPARE(ListedBlocks(4), (std::vector<int32_t>{0x10, 0x4005}));
        QVERIFY(Slot(4, 0x10).Size == 2048 && TreeTexts().contains("Art (2)") && env.messages.empty());
    }

    // A land tile from a picture of another size, a number past the type, a file that is no picture: the
    // user is told why, and the dialog stays with nothing changed.
    void artThatCannotBeMade() {
        QVERIFY(WriteAll(P("text.png"), "this is not a picture") && SmallPicture(P("small.bmp")));
        auto dialog = Open<frmArt>();
        env.warnings.clear();
        MarkTreeStale();
        for (const auto& [picture, index] :
             {std::pair{"small.bmp", "16"}, {"small.bmp", "81884"}, {"small.bmp", "-1"}, {"text.png", "0x4000"}}) {
            dialog->txtPicture->setText(P(picture));
            dialog->txtIndex->setText(index);
            waits.clear();
            Click(dialog->cmdImport);
            QVERIFY(!dialog->Unloaded() && dialog->isVisible() && TreeStale());
        }
        QCOMPARE(PatchBlocks[4].Count, 0);
        const QString range = "is out of range: art numbers go from 0 to 81883 (0x0 to 0x13FDB).";
        QCOMPARE(env.warnings, std::vector<std::string>{
                                   "A land tile is made from a picture of 44 by 44 pixels, not of 2 by 2 pixels"});
        QCOMPARE(env.messages.size(), size_t{3});
        QCOMPARE(QString::fromStdString(env.messages[0]), "The art index \"81884\" " + range);
        QCOMPARE(QString::fromStdString(env.messages[1]), "The art index \"-1\" " + range);
        QCOMPARE(QString::fromStdString(env.messages[2]),
                 "The file " + P("text.png") +
                     " could not be read as a picture. An art block is made from a BMP, JPG, GIF or PNG file.");
    }

    // The browse buttons: the file dialog's title, filter and folder; a MUL file need not exist, an index
    // or picture must; cancelled, the box keeps its text.
    void browseButtons() {
        QString answer, asked;
        SetFileDialogOverride([&](bool save, const QString& filter, const QString& title, const QString& folder) {
            asked = QString("%1|%2|%3|%4").arg(save).arg(title, filter, folder);
            return answer;
        });
        const auto browse = [&](QPushButton* button, QLineEdit* box, const QString& file, bool taken,
                                const QString& want) {
            const QString before = box->text();
            answer = file.isEmpty() ? QString() : P(file);
            Click(button);
            QCOMPARE(box->text(), taken ? answer : before);
            QCOMPARE(asked, "0|" + want + "|" + dir);
        };
        const QString mul = "Import from mul file|Mul file (*.mul);;UOP container (*.uop)";
        const QString idx = "Open MUL index|MUL index (*.idx);;MUL index (*.mul)";
        QVERIFY(WriteAll(P("there.idx"), QByteArray(12, '\0')) && SmallPicture(P("there.bmp")));
        auto import = Open<frmImport>();
        for (const auto& [index, title] : {std::pair<int, QString>{0, "Patchfile|Patchfile (*.muo)"},
                                           {1, "Verdata.mul|Verdata (*.mul)"},
                                           {2, "Patchfile|Patchfile (*.uop)"},
                                           {3, mul}}) {
            import->cboMULType->setCurrentIndex(index);
            browse(import->cmdMUL, import->txtMUL, "chosen" + QString::number(index), true, title);
        }
        browse(import->cmdMUL, import->txtMUL, "", false, mul);
        import->cboMULType->setCurrentIndex(5);
        browse(import->cmdIDX, import->txtIDX, "missing.idx", false, idx);
        browse(import->cmdIDX, import->txtIDX, "there.idx", true, idx);
        auto compare = Open<frmCompare>();
        compare->cboMULType->setCurrentIndex(2);
        browse(compare->cmdMUL1, compare->txtMUL1, "base.mul", true, mul);
        browse(compare->cmdMUL2, compare->txtMUL2, "new.mul", true, mul);
        browse(compare->cmdIDX1, compare->txtIDX1, "none.idx", false, idx);
        browse(compare->cmdIDX2, compare->txtIDX2, "there.idx", true, idx);
        auto gump = Open<frmGump>();
        const QString pictures =
            "Open picture|BMP picture (*.bmp);;JPG picture (*.jpg);;GIF Picture (*.gif);;PNG picture (*.png)";
        browse(gump->cmdPicture, gump->txtPicture, "none.bmp", false, pictures);
        browse(gump->cmdPicture, gump->txtPicture, "there.bmp", true, pictures);
        auto art = Open<frmArt>();
        browse(art->cmdPicture, art->txtPicture, "there.bmp", true, pictures);
        SetFileDialogOverride(nullptr);
    }

    void menuCommandsOpenTheDialogs() {
        QStringList entries;
        for (QAction* action : form->mnuFile->actions()) entries << action->objectName();
        QCOMPARE(entries.mid(entries.indexOf("mnuExport"), 4),
                 QStringList({"mnuExport", "mnuCompare", "mnuGump", "mnuArt"}));
        QCOMPARE(form->findChild<QAction*>("mnuCompare")->text(), QString("Compare..."));
        QCOMPARE(form->findChild<QAction*>("mnuGump")->text(), QString("Import gump..."));
        QCOMPARE(form->findChild<QAction*>("mnuArt")->text(), QString("Import art..."));
        for (const char* name : {"Import", "Export", "Compare", "Gump", "Art"}) {
            QString seen;  // the modal dialog is looked at and cancelled as soon as it shows
            QTimer::singleShot(0, [&] {
                if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
                    seen = dialog->objectName() + (dialog->isModal() && dialog->parentWidget() == form ? " modal" : "");
                    dialog->findChild<QPushButton*>("cmdCancel")->click();
                }
            });
            form->findChild<QAction*>(QString("mnu") + name)->trigger();
            QCOMPARE(seen, QString("frm") + name + " modal");
        }
        // A whole import by way of the menu: the dialog hides inside its modal loop, the import runs, it goes.
        QVERIFY(WriteAll(P("menu.muo"), test::Bytes{}.muoHeader(1).muo(14, 2, 0, 3, Bytes(3, 1)).b));
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
        QVERIFY(TreeTexts().contains("Multis (1)"));
        QVERIFY(form->mnuImport->isEnabled());
    }
};

QTEST_MAIN(tst_dialogs)
#include "tst_dialogs.moc"
