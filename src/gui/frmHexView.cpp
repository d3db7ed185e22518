#include "frmHexView.h"

#include <QFontDatabase>
#include <QHeaderView>
#include <QTableView>

#include "Cp1252.h"
#include "cWindow.h"
#include "viewers/HexRows.h"

namespace quillet {

namespace {
constexpr int kColumns = 19;  // hidden item column, offset, 16 bytes, text
}

void HexModel::SetBytes(ByteArray bytes) {
    beginResetModel();
    bytes_ = std::move(bytes);
    endResetModel();
}

int HexModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(HexRowCount(bytes_.size()));
}

int HexModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : kColumns; }

QVariant HexModel::data(const QModelIndex& index, int role) const {
    if (role != Qt::DisplayRole || !index.isValid()) return {};
    const HexRow row = MakeHexRow(bytes_.data(), bytes_.size(), static_cast<size_t>(index.row()));
    const int column = index.column();
    if (column == 1) return QString::fromStdString(row.Offset);
    if (column >= 2 && column <= 17) return QString::fromStdString(row.Bytes[static_cast<size_t>(column - 2)]);
    if (column == 18) {
        // Control codes would break the row; they show as dots.
        QString text = FromCp1252(row.Text);
        for (QChar& c : text)
            if (c.unicode() < 32 || (c.unicode() >= 127 && c.unicode() < 160)) c = '.';
        return text;
    }
    return {};
}

QVariant HexModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
    if (section >= 2 && section <= 17) return QString("%1").arg(section - 2, 2, 10, QChar('0'));  // decimal headings
    if (section == 18) return QString("Text");
    return QString();
}

frmHexView::frmHexView(QWidget* parent) : QDialog(parent) {
    setObjectName("frmHexView");
    setModal(true);
    resize(Px(10215), Px(5655));
    model_ = new HexModel(this);
    lvHex = new QTableView(this);
    lvHex->setObjectName("lvHex");
    lvHex->setModel(model_);
    lvHex->setGeometry(Px(60), Px(60), Px(9735), Px(5295));
    lvHex->verticalHeader()->hide();
    lvHex->verticalHeader()->setDefaultSectionSize(lvHex->fontMetrics().height() + 2);
    lvHex->setShowGrid(false);
    lvHex->setSelectionBehavior(QAbstractItemView::SelectRows);
    lvHex->setEditTriggers(QAbstractItemView::NoEditTriggers);
    QFont font("Courier New");
    font.setStyleHint(QFont::Monospace);
    font.setFixedPitch(true);
    font.setPointSizeF(8.25);
    if (!QFontInfo(font).fixedPitch()) {
        font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
        font.setPointSizeF(8.25);
    }
    lvHex->setFont(font);
    lvHex->horizontalHeader()->setHighlightSections(false);
    lvHex->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    gWindow.wLoad(this, false);
}

frmHexView::~frmHexView() = default;

void frmHexView::LoadData(const ByteArray& B, const QString& HexCaption) {
    setWindowTitle(HexCaption);
    model_->SetBytes(B);
    QHeaderView* header = lvHex->horizontalHeader();
    header->setMinimumSectionSize(0);
    lvHex->setColumnHidden(0, true);
    header->resizeSection(1, Px(800));
    for (int column = 2; column <= 17; ++column) header->resizeSection(column, Px(400));
    header->resizeSection(18, Px(2500));
}

void frmHexView::resizeEvent(QResizeEvent* event) {
    QDialog::resizeEvent(event);
    // The list follows the window with its margins; a window too small for
    // that keeps the list as it last fitted.
    const int width = this->width() - 2 * lvHex->x();
    const int height = this->height() - 2 * lvHex->y();
    if (width > 0 && height > 0) lvHex->resize(width, height);
}

void frmHexView::done(int result) {
    gWindow.wSave(this);
    QDialog::done(result);
}

}  // namespace quillet
