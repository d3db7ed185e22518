#include "mMenu.h"

#include <QAction>
#include <QCursor>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QMenu>
#include <QTableView>
#include <QTreeWidget>

#include <algorithm>
#include <utility>

#include "BlockListModel.h"
#include "FileDialogs.h"
#include "Icons.h"
#include "actions/JobOutcome.h"
#include "actions/mBlockCommands.h"
#include "actions/mBlockPictures.h"
#include "actions/mPageJobs.h"
#include "base/cError.h"
#include "cWindow.h"
#include "core/BlockRows.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "core/mWait.h"
#include "frmStart.h"
#include "qtpictures/PictureFiles.h"
#include "uScrollPicture.h"
#include "viewers/BlockPictures.h"

namespace quillet {

namespace {

bool gPopupMade = false;
constexpr uint8_t kSoundFileID = 8;

BlockListModel* ModelOf(QTableView* list) { return qobject_cast<BlockListModel*>(list->model()); }

QString TypeName(int FileID) { return QString::fromStdString(FileTypes[static_cast<size_t>(FileID)].Name); }

// The selected rows, last to first, as the commands walk them.
std::vector<int> SelectedRowsDescending(QTableView* list) {
    std::vector<int> rows;
    for (const QModelIndex& index : list->selectionModel()->selectedRows()) rows.push_back(index.row());
    std::sort(rows.rbegin(), rows.rend());
    return rows;
}

// Where an export of the block is proposed: the dat files' export folder,
// under the type's name and the block's number, as "Gumps_1F4.png".
QString ExportPath(uint8_t FileID, int32_t Block, const char* extension) {
    CreateDatFolders();
    return QString::fromStdString(DatExportFolder() + FileTypes[FileID].Name + "_" +
                                  HexText(static_cast<uint32_t>(Block)) + "." + extension);
}

}  // namespace

QTableView* ListOf(int FileID) {
    const PageRef page = FileTypes[static_cast<size_t>(FileID)].Page;
    if (page.kind != PageRef::Kind::List || !frmStart::HasInstance()) return nullptr;
    return frmStart::Instance().lvPage[static_cast<size_t>(page.index)];
}

void MenuUpdate(QTreeWidget* tree) {
    tree->clear();
    auto* root = new QTreeWidgetItem(tree, QStringList("Patch"));
    root->setData(0, Qt::UserRole, "PATCHES");
    root->setIcon(0, MulIcon(1));
    for (int id = 0; id < kFileIDs; ++id) {
        const FileTypeRec& row = FileTypes[static_cast<size_t>(id)];
        if (row.Name.empty()) continue;
        auto* node = new QTreeWidgetItem(root, QStringList(QString("%1 (%2)").arg(TypeName(id)).arg(
                                                   PatchBlocks[static_cast<size_t>(id)].Count)));
        node->setData(0, Qt::UserRole, "P" + QString::number(id));
        node->setIcon(0, MulIcon(row.ImageIndex));
    }
    root->setExpanded(true);
    // After a rebuild no node is selected; the page stays as it was.
    tree->setCurrentItem(nullptr);
    tree->clearSelection();
}

void MenuRefresh() {
    frmStart& form = frmStart::Instance();
    {
        const QSignalBlocker quiet(form.twMenu);  // rebuilding the tree is no click
        MenuUpdate(form.twMenu);
    }
    // A page that could not be drawn keeps its last picture; the log tells why.
    DrawPage(*form.pageMap, 0);
    DrawPage(*form.pageStatics, 2);
    form.ShowRadarNote();
    for (int id = 3; id < kFileIDs; ++id) {
        if (FileTypes[static_cast<size_t>(id)].Name.empty()) continue;
        QTableView* list = ListOf(id);
        if (!list) continue;
        ListView_Update(list, static_cast<uint8_t>(id), ListBlocks(id));
    }
}

void ListView_Update(QTableView* list, uint8_t FileID, std::vector<int32_t> Blocks) {
    try {
        ModelOf(list)->Rebuild(FileID, std::move(Blocks));
        QHeaderView* header = list->horizontalHeader();
        header->setMinimumSectionSize(0);
        list->setColumnHidden(0, true);
        for (int column = 1; column <= 3; ++column) header->resizeSection(column, Px(1500));
    } catch (...) {
        gError.Log("mMenu.ListView_Update");
    }
}

void PopupMenu_Create(uint8_t FileID) {
    try {
        frmStart& form = frmStart::Instance();
        if (!gPopupMade) {
            for (size_t entry = 1; entry < form.mnuPop.size(); ++entry) {
                form.mnuPop[entry] = form.mnuPopup->addAction(QString());
                form.mnuPop[entry]->setObjectName(QString("mnuPop%1").arg(entry));
            }
            gPopupMade = true;
        }
        for (size_t entry = 1; entry < form.mnuPop.size(); ++entry) {
            form.mnuPop[entry]->setVisible(false);
            form.mnuPop[entry]->setEnabled(true);
            form.mnuPop[entry]->setSeparator(false);
            form.mnuPop[entry]->setCheckable(false);
            form.mnuPop[entry]->setData(QString());
        }
        const QString id = QString::number(FileID);
        auto& pop = form.mnuPop;
        pop[0]->setText(TypeName(FileID));
        pop[0]->setEnabled(false);
        pop[1]->setSeparator(true);
        pop[2]->setText("Put " + TypeName(FileID) + " in verdata");
        pop[2]->setCheckable(true);
        pop[2]->setChecked(FileTypes[FileID].InVerdata != 0);
        pop[2]->setData("VERDATA " + id);
        pop[2]->setEnabled(FileID < 100);
        pop[3]->setSeparator(true);
        pop[4]->setText("Export to dat file");
        pop[4]->setData("EXPORT " + id);
        pop[4]->setEnabled(FileID > 2);
        pop[5]->setText("Import from dat file");
        pop[5]->setData("IMPORT " + id);
        pop[5]->setEnabled(FileID > 2);
        pop[6]->setSeparator(true);
        pop[7]->setText("Delete");
        pop[7]->setData("DELETE " + id);
        pop[7]->setEnabled(true);
        for (size_t entry = 1; entry <= 7; ++entry) pop[entry]->setVisible(true);
        // The block of the current row as a file of its own kind, on the lists that have one.
        const bool list = ListOf(FileID) != nullptr;
        pop[8]->setText("Export picture...");
        pop[8]->setData("PICTURE " + id);
        pop[8]->setVisible(list && HasPictures(FileID));
        pop[9]->setText("Export to WAV...");
        pop[9]->setData("WAVE " + id);
        pop[9]->setVisible(list && FileID == kSoundFileID);
        // The chosen entry comes back through the menu's triggered signal.
        form.mnuPopup->popup(QCursor::pos());
    } catch (...) {
        gError.Log("mMenu.PopupMenu_Create(" + std::to_string(FileID) + ")");
    }
}

void PopupMenu_Run(const QString& command) {
    try {
        const QString upper = command.toUpper();
        auto fileIdAfter = [&](const QString& word) {
            bool ok = false;
            const int id = command.mid(word.size()).trimmed().toInt(&ok);
            if (!ok || id < 0 || id > 255) Fail(kOverflow);
            return id;
        };
        if (upper.startsWith("DELETE ")) {
            const int id = fileIdAfter("DELETE ");
            if (id == 0 || id == 2) {
                uScrollPicture* page = id == 0 ? frmStart::Instance().pageMap : frmStart::Instance().pageStatics;
                int32_t x1 = page->X1, y1 = page->Y1, x2 = page->X2, y2 = page->Y2;
                ClearPageBlocks(id, x1, y1, x2, y2);
                MenuRefresh();
            } else if (QTableView* list = ListOf(id)) {
                ListView_Delete(list, static_cast<uint8_t>(id));
            }
        } else if (upper.startsWith("VERDATA ")) {
            ToggleInVerdata(fileIdAfter("VERDATA "));
        } else if (upper.startsWith("EXPORT ")) {
            const int id = fileIdAfter("EXPORT ");
            if (QTableView* list = ListOf(id)) ListView_Export(list, static_cast<uint8_t>(id));
        } else if (upper.startsWith("IMPORT ")) {
            const int id = fileIdAfter("IMPORT ");
            if (QTableView* list = ListOf(id)) ListView_Import(list, static_cast<uint8_t>(id));
        } else if (upper.startsWith("PICTURE ")) {
            const int id = fileIdAfter("PICTURE ");
            if (QTableView* list = ListOf(id)) ListView_ExportPicture(list, static_cast<uint8_t>(id));
        } else if (upper.startsWith("WAVE ")) {
            const int id = fileIdAfter("WAVE ");
            if (QTableView* list = ListOf(id)) ListView_ExportWave(list, static_cast<uint8_t>(id));
        }
    } catch (...) {
        gError.Log("mMenu.PopupMenu_Run(" + command.toStdString() + ")");
    }
}

void ListView_Delete(QTableView* list, uint8_t FileID) {
    try {
        BlockListModel* model = ModelOf(list);
        const std::vector<int> rows = SelectedRowsDescending(list);
        std::vector<int32_t> blocks;
        blocks.reserve(rows.size());
        for (int row : rows) blocks.push_back(model->BlockAt(row));
        DeleteBlocks(FileID, blocks);
        model->RemoveRows(rows);
    } catch (...) {
        gError.Log("mMenu.ListView_Delete");
    }
    MenuUpdate(frmStart::Instance().twMenu);
}

void ListView_Export(QTableView* list, uint8_t FileID) {
    try {
        CreateDatFolders();
        BlockListModel* model = ModelOf(list);
        std::vector<int32_t> blocks;
        for (int row : SelectedRowsDescending(list)) blocks.push_back(model->BlockAt(row));
        ExportBlocks(FileID, blocks, DatExportFolder());
    } catch (...) {
        gError.Log("mMenu.ListView_Export");
    }
}

void ListView_Import(QTableView* list, uint8_t FileID) {
    try {
        CreateDatFolders();
        BlockListModel* model = ModelOf(list);
        std::vector<int32_t> blocks;
        for (int row : SelectedRowsDescending(list)) blocks.push_back(model->BlockAt(row));
        ImportBlocks(FileID, blocks, DatImportFolder());
    } catch (...) {
        gError.Log("mMenu.ListView_Import");
    }
    ListView_Update(list, FileID, ListedBlocks(FileID));
}

void ListView_ExportPicture(QTableView* list, uint8_t FileID) {
    try {
        const int32_t block = CurrentBlock(list);
        if (block < 0) return;
        // Drawn first: a block that cannot be drawn asks for no file name.
        BlockPicture picture;
        if (!TellOutcome(PictureOfBlock(FileID, block, picture))) return;
        const QString path = ExportDialog(&frmStart::Instance(), "PNG picture (*.PNG)|*.png", "Export picture",
                                          ExportPath(FileID, block, "png"), "png");
        if (path.isEmpty()) return;
        if (std::string error; !WritePng(picture, path.toStdString(), error))
            MsgBoxWarning("The picture of " + BlockName(FileID, block) + " could not be written: " + error);
    } catch (...) {
        gError.Log("mMenu.ListView_ExportPicture");
    }
}

void ListView_ExportWave(QTableView* list, uint8_t FileID) {
    try {
        const int32_t block = CurrentBlock(list);
        if (block < 0 || FileID != kSoundFileID) return;
        ByteArray wave;
        if (!TellOutcome(WaveOfSoundBlock(block, wave))) return;
        const QString path = ExportDialog(&frmStart::Instance(), "WAV sound (*.WAV)|*.wav", "Export to WAV",
                                          ExportPath(FileID, block, "wav"), "wav");
        if (path.isEmpty()) return;
        TellOutcome(ExportSoundWave(block, path.toStdString()));
    } catch (...) {
        gError.Log("mMenu.ListView_ExportWave");
    }
}

int32_t CurrentBlock(QTableView* list) {
    const QItemSelectionModel* selection = list->selectionModel();
    const QModelIndex current = selection->currentIndex();
    const QModelIndexList selected = selection->selectedRows();
    const int row = current.isValid() && selection->isRowSelected(current.row(), {})
                        ? current.row()
                        : (selected.isEmpty() ? -1 : selected.first().row());
    return BlockFromRowKey(ModelOf(list)->KeyAt(row).toStdString());
}

}  // namespace quillet
