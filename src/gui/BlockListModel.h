#pragma once
// A block list page's model: one row per present block of one type, computed
// from the store. Rows hold block numbers only; the texts are made when shown.
#include <QAbstractTableModel>

#include <cstdint>
#include <vector>

namespace quillet {

class BlockListModel : public QAbstractTableModel {
    Q_OBJECT
public:
    using QAbstractTableModel::QAbstractTableModel;

    // The rows of the type: its present blocks in rising order.
    void Rebuild(int FileID, std::vector<int32_t> Blocks);
    // Drops the given rows (any order) in one pass.
    void RemoveRows(std::vector<int> rows);

    int FileID() const { return fileId_; }
    int32_t BlockAt(int row) const;
    QString KeyAt(int row) const;  // "A" + Block

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    static constexpr int KeyRole = Qt::UserRole + 1;

private:
    int fileId_ = -1;
    std::vector<int32_t> blocks_;
};

}  // namespace quillet
