#pragma once
// A read-only view of one block's bytes: rows of 16 with offset, hexadecimal
// values and characters. Rows are made on demand, so a block of megabytes
// opens at once. A block that its caller has drawn as a picture shows that
// picture above the rows.
#include <QAbstractTableModel>
#include <QDialog>

#include "base/ByteIO.h"
#include "viewers/BlockPicture.h"

class QTableView;

namespace quillet {

class HexModel : public QAbstractTableModel {
    Q_OBJECT
public:
    using QAbstractTableModel::QAbstractTableModel;
    void SetBytes(ByteArray bytes);
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    ByteArray bytes_;
};

class uBlockPreview;

class frmHexView : public QDialog {
    Q_OBJECT
public:
    explicit frmHexView(QWidget* parent = nullptr);
    ~frmHexView() override;

    // Shows the bytes, and no picture.
    void LoadData(const ByteArray& B, const QString& HexCaption);
    // The picture of the bytes, above them, after LoadData.
    void ShowPicture(BlockPicture picture);

    uBlockPreview* picHex;
    QTableView* lvHex;

    void setVisible(bool visible) override;

protected:
    void done(int result) override;

private:
    HexModel* model_;
};

}  // namespace quillet
