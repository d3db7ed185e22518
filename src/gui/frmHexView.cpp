#include "frmHexView.h"

#include <QFontDatabase>
#include <QHeaderView>
#include <QTableView>
#include <QVBoxLayout>

#include <utility>

#include "Cp1252.h"
#include "cWindow.h"
#include "uBlockPreview.h"
#include "viewers/HexRows.h"

namespace quillet {

namespace {
constexpr int kColumns = 19;  // hidden item column, offset, 16 bytes, text
// The window's own size, in twips, and its margins.
constexpr int kWidth = 10215;
constexpr int kHeight = 5655;
constexpr int kMargin = 60;
// The most pixels a picture above the rows is high: a small one is scaled up
// to it, a tall one down, so that rows stay in sight.
constexpr int kPictureHeight = 256;
}  // namespace

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
    model_ = new HexModel(this);
    picHex = new uBlockPreview(this);
    picHex->setObjectName("picHex");
    picHex->SetMostRoom(QSize(Px(kWidth) - 4 * Px(kMargin), kPictureHeight));
    picHex->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    picHex->hide();
    lvHex = new QTableView(this);
    lvHex->setObjectName("lvHex");
    lvHex->setModel(model_);
    // The list follows the window with its margins, under the picture if there is one.
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(Px(kMargin), Px(kMargin), Px(kMargin), Px(kMargin));
    layout->addWidget(picHex);
    layout->addWidget(lvHex, 1);
    lvHex->verticalHeader()->hide();
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
    // Headings and rows alike in the list's font, which the columns' drawn widths
    // were made for; a row is as high as that font needs.
    lvHex->setFont(font);
    lvHex->horizontalHeader()->setFont(font);
    lvHex->verticalHeader()->setDefaultSectionSize(QFontMetrics(font).height() + 2);
    lvHex->horizontalHeader()->setHighlightSections(false);
    lvHex->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
}

frmHexView::~frmHexView() = default;

void frmHexView::LoadData(const ByteArray& B, const QString& HexCaption) {
    setWindowTitle(HexCaption);
    picHex->Clear();
    picHex->hide();
    model_->SetBytes(B);
    QHeaderView* header = lvHex->horizontalHeader();
    header->setMinimumSectionSize(0);
    lvHex->setColumnHidden(0, true);
    header->resizeSection(1, Px(800));
    for (int column = 2; column <= 17; ++column) header->resizeSection(column, Px(400));
    header->resizeSection(18, Px(2500));
}

void frmHexView::ShowPicture(BlockPicture picture) {
    picHex->ShowPicture(std::move(picture));
    picHex->show();
}

void frmHexView::setVisible(bool visible) {
    // Each opening is a load: the window comes at its own size, at the place
    // the last one was closed; a picture above the rows makes it that much higher.
    if (visible && !isVisible()) {
        const int picture = picHex->isHidden() ? 0 : picHex->sizeHint().height() + layout()->spacing();
        resize(Px(kWidth), Px(kHeight) + picture);
        gWindow.wLoad(this, false);
    }
    QDialog::setVisible(visible);
}

void frmHexView::done(int result) {
    gWindow.wSave(this);
    QDialog::done(result);
}

}  // namespace quillet
