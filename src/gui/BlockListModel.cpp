#include "BlockListModel.h"

#include <algorithm>
#include <utility>

#include "core/BlockRows.h"
#include "core/mMuls.h"
#include "core/mPatch.h"

namespace quillet {

void BlockListModel::Rebuild(int FileID, std::vector<int32_t> Blocks) {
    beginResetModel();
    fileId_ = FileID;
    blocks_ = std::move(Blocks);
    endResetModel();
}

void BlockListModel::RemoveRows(std::vector<int> rows) {
    if (rows.empty()) return;
    std::sort(rows.begin(), rows.end());
    beginResetModel();
    std::vector<int32_t> kept;
    kept.reserve(blocks_.size());
    size_t next = 0;
    for (int row = 0; row < static_cast<int>(blocks_.size()); ++row) {
        if (next < rows.size() && rows[next] == row) {
            while (next < rows.size() && rows[next] == row) ++next;
            continue;
        }
        kept.push_back(blocks_[static_cast<size_t>(row)]);
    }
    blocks_.swap(kept);
    endResetModel();
}

int32_t BlockListModel::BlockAt(int row) const {
    return row >= 0 && row < static_cast<int>(blocks_.size()) ? blocks_[static_cast<size_t>(row)] : -1;
}

QString BlockListModel::KeyAt(int row) const {
    const int32_t block = BlockAt(row);
    return block < 0 ? QString() : QString::fromStdString(BlockRowKey(block));
}

int BlockListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(blocks_.size());
}

int BlockListModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : 4; }

QVariant BlockListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || fileId_ < 0) return {};
    const int32_t block = BlockAt(index.row());
    if (block < 0) return {};
    if (role == KeyRole) return QString::fromStdString(BlockRowKey(block));
    if (role != Qt::DisplayRole) return {};
    const BlockRow row = MakeBlockRow(
        block, std::as_const(PatchBlocks[static_cast<size_t>(fileId_)].Blocks)[static_cast<size_t>(block)]);
    switch (index.column()) {
        case 1: return QString::fromStdString(row.ID);
        case 2: return QString::fromStdString(row.Size);
        case 3: return QString::fromStdString(row.Flags);
        default: return QString();
    }
}

QVariant BlockListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
    static const char* const headers[] = {"", "ID", "Size", "Flags"};
    return section >= 0 && section < 4 ? QString(headers[section]) : QVariant();
}

}  // namespace quillet
