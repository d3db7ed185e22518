#include "frmCompare.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStatusBar>

#include "FileDialogs.h"
#include "actions/JobOutcome.h"
#include "actions/mImportJobs.h"
#include "cWindow.h"
#include "core/mMuls.h"
#include "mMenu.h"
#include "support/Services.h"

namespace quillet {

namespace {


std::string Text(const QLineEdit* edit) { return edit->text().toStdString(); }

}  // namespace

frmCompare::frmCompare(QWidget* parent) : DialogForm(parent) {
    setObjectName("frmCompare");
    setWindowTitle("Compare");
    setModal(true);

    Label15 = MakeLabel(this, "Label15", "Select filetype:", true);
    Label1 = MakeLabel(this, "Label1", "Filetype:");
    cboMULType = new QComboBox(this);
    cboMULType->setObjectName("cboMULType");
    cboMULType->setEditable(false);
    cboMULType->setMinimumWidth(Px(3315));
    Label5 = MakeLabel(this, "Label5", "Origional/base muls:", true);
    Label2 = MakeLabel(this, "Label2", "MUL:");
    txtMUL1 = MakeText(this, "txtMUL1", "", 2835);
    cmdMUL1 = MakeBrowseButton(this, "cmdMUL1");
    lblIDX1 = MakeLabel(this, "lblIDX1", "IDX:");
    txtIDX1 = MakeText(this, "txtIDX1", "", 2835);
    cmdIDX1 = MakeBrowseButton(this, "cmdIDX1");
    Label6 = MakeLabel(this, "Label6", "Altered/New muls:", true);
    Label3 = MakeLabel(this, "Label3", "MUL:");
    txtMUL2 = MakeText(this, "txtMUL2", "", 2835);
    cmdMUL2 = MakeBrowseButton(this, "cmdMUL2");
    lblIDX2 = MakeLabel(this, "lblIDX2", "IDX:");
    txtIDX2 = MakeText(this, "txtIDX2", "", 2835);
    cmdIDX2 = MakeBrowseButton(this, "cmdIDX2");
    cmdCompare = MakeButton(this, "cmdCompare", "Compare", 1395, kButtonHeight);
    cmdCompare->setDefault(true);
    cmdCancel = MakeButton(this, "cmdCancel", "Cancel", 1395, kButtonHeight);
    StatusBar1 = MakeStatusBar(this);

    // Columns: 2 the paths, which take a wider dialog's room, 3 the "..." buttons.
    QGridLayout* fields = Arrange({120, 180, 300, 1080, 285, 120, 105, 120}, {cmdCompare, cmdCancel}, StatusBar1);
    fields->addWidget(Label15, 0, 0, 1, 4);
    fields->addWidget(Label1, 1, 1);
    fields->addWidget(cboMULType, 1, 2, 1, 2);
    GroupGap(fields, 2);
    fields->addWidget(Label5, 3, 0, 1, 4);
    fields->addWidget(Label2, 4, 1);
    fields->addWidget(txtMUL1, 4, 2);
    fields->addWidget(cmdMUL1, 4, 3);
    fields->addWidget(lblIDX1, 5, 1);
    fields->addWidget(txtIDX1, 5, 2);
    fields->addWidget(cmdIDX1, 5, 3);
    GroupGap(fields, 6);
    fields->addWidget(Label6, 7, 0, 1, 4);
    fields->addWidget(Label3, 8, 1);
    fields->addWidget(txtMUL2, 8, 2);
    fields->addWidget(cmdMUL2, 8, 3);
    fields->addWidget(lblIDX2, 9, 1);
    fields->addWidget(txtIDX2, 9, 2);
    fields->addWidget(cmdIDX2, 9, 3);
    fields->setColumnStretch(2, 1);
    KeepRoomWhenHidden({lblIDX1, txtIDX1, cmdIDX1, lblIDX2, txtIDX2, cmdIDX2});
    Fit(6615, 3930, true);

    connect(cboMULType, &QComboBox::currentIndexChanged, this, [this] { cboMULType_Change(); });
    connect(cboMULType, &QComboBox::activated, this, [this] { cboMULType_Change(); });
    connect(cmdMUL1, &QPushButton::clicked, this, [this] { cmdMUL1_Click(); });
    connect(cmdMUL2, &QPushButton::clicked, this, [this] { cmdMUL2_Click(); });
    connect(cmdIDX1, &QPushButton::clicked, this, [this] { cmdIDX1_Click(); });
    connect(cmdIDX2, &QPushButton::clicked, this, [this] { cmdIDX2_Click(); });
    // A client's container in a MUL box needs no index file.
    connect(txtMUL1, &QLineEdit::textChanged, this, [this] { cboMULType_Change(); });
    connect(txtMUL2, &QLineEdit::textChanged, this, [this] { cboMULType_Change(); });
    connect(cmdCompare, &QPushButton::clicked, this, [this] { cmdCompare_Click(); });
    connect(cmdCancel, &QPushButton::clicked, this, [this] { cmdCancel_Click(); });

    // The form's load: the file types only, so list index 0 is Map.
    cboMULType->clear();
    for (int id = 0; id <= 200; ++id) {
        const FileTypeRec& row = FileTypes[static_cast<size_t>(id)];
        if (row.Name.empty()) continue;
        cboMULType->addItem(QString::fromStdString(row.Name) + " (" + QString::number(id) + ")", id);
    }
    cboMULType->setCurrentIndex(0);
    cboMULType_Change();
    gWindow.wLoad(this, false);
}

frmCompare::~frmCompare() = default;

bool frmCompare::SelectedHasIndex(const QLineEdit* mul) const {
    const int id = cboMULType->currentData().toInt();
    return id >= 0 && id < kFileIDs && NeedsIndexFile(static_cast<uint8_t>(id), Text(mul));
}

void frmCompare::cboMULType_Change() {
    const bool idx1 = SelectedHasIndex(txtMUL1);
    for (QWidget* control : {static_cast<QWidget*>(txtIDX1), static_cast<QWidget*>(cmdIDX1),
                             static_cast<QWidget*>(lblIDX1)})
        control->setVisible(idx1);
    const bool idx2 = SelectedHasIndex(txtMUL2);
    for (QWidget* control : {static_cast<QWidget*>(txtIDX2), static_cast<QWidget*>(cmdIDX2),
                             static_cast<QWidget*>(lblIDX2)})
        control->setVisible(idx2);
}

void frmCompare::BrowseMUL(QLineEdit* box) {
    const QString path = OpenDialog(this, kMulOrContainerFilter, "Import from mul file",
                                    QString::fromStdString(gFileIO.exepath));
    if (!path.isEmpty()) box->setText(path);
}

void frmCompare::BrowseIDX(QLineEdit* box) {
    const QString path = OpenDialog(this, "MUL index (*.idx)|*.idx|MUL index (*.mul)|*.mul", "Open MUL index",
                                    QString::fromStdString(gFileIO.exepath));
    if (!path.isEmpty() && gFileIO.FileExist(path.toStdString())) box->setText(path);
}

void frmCompare::cmdMUL1_Click() { BrowseMUL(txtMUL1); }
void frmCompare::cmdMUL2_Click() { BrowseMUL(txtMUL2); }
void frmCompare::cmdIDX1_Click() { BrowseIDX(txtIDX1); }
void frmCompare::cmdIDX2_Click() { BrowseIDX(txtIDX2); }

void frmCompare::cmdCompare_Click() {
    // A missing file ends the click without a word: the dialog stays. An IDX
    // box counts only for a type with an index, beside a MUL file that is no
    // client container.
    if (!gFileIO.FileExist(Text(txtMUL1)) || !gFileIO.FileExist(Text(txtMUL2))) return;
    if (SelectedHasIndex(txtMUL1) && !gFileIO.FileExist(Text(txtIDX1))) return;
    if (SelectedHasIndex(txtMUL2) && !gFileIO.FileExist(Text(txtIDX2))) return;
    const int id = cboMULType->currentData().toInt();
    if (id < 0 || id >= kFileIDs) return;

    hide();
    // The user sees the outcome in the tree's counts, and in one message
    // what failed or was gone on past.
    const Result outcome =
        CompareFiles(static_cast<uint8_t>(id), Text(txtMUL1), Text(txtIDX1), Text(txtMUL2), Text(txtIDX2));
    MenuRefresh();
    TellOutcome(outcome);
    done(QDialog::Accepted);
}

void frmCompare::cmdCancel_Click() { done(QDialog::Rejected); }


}  // namespace quillet
