#pragma once
// The tree, the whole refresh after a change of the patch, the block lists
// and the commands of the popup menu.
#include <QString>

#include <cstdint>
#include <vector>

class QTableView;
class QTreeWidget;

namespace quillet {

void MenuUpdate(QTreeWidget* tree);
void MenuRefresh();

// Shows the blocks (present blocks of the type, rising) in the list.
void ListView_Update(QTableView* list, uint8_t FileID, std::vector<int32_t> Blocks);
void PopupMenu_Create(uint8_t FileID);
void PopupMenu_Run(const QString& command);
void ListView_Delete(QTableView* list, uint8_t FileID);
void ListView_Export(QTableView* list, uint8_t FileID);
void ListView_Import(QTableView* list, uint8_t FileID);
// The picture or the sound of the current row's block, written to a file the
// user names; a block that has none is told in a message.
void ListView_ExportPicture(QTableView* list, uint8_t FileID);
void ListView_ExportWave(QTableView* list, uint8_t FileID);

// The block of the list's current row if it is selected, else of its first
// selected row, read from the row's key; -1 when no row is selected.
int32_t CurrentBlock(QTableView* list);

// The list page of a type, or nullptr for a type shown as a picture.
QTableView* ListOf(int FileID);

}  // namespace quillet
