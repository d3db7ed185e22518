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
    setFixedSize(Px(6615), Px(3930));

    Label15 = MakeLabel(this, "Label15", "Select filetype:", 120, 180, true);
    Label1 = MakeLabel(this, "Label1", "Filetype:", 420, 480);
    cboMULType = new QComboBox(this);
    cboMULType->setObjectName("cboMULType");
    cboMULType->setEditable(false);
    cboMULType->setGeometry(Px(1500), Px(480), Px(3315), Px(kBoxHeight));
    Label5 = MakeLabel(this, "Label5", "Origional/base muls:", 120, 960, true);
    Label2 = MakeLabel(this, "Label2", "MUL:", 420, 1260);
    txtMUL1 = MakeText(this, "txtMUL1", "", 1500, 1260, 2835);
    cmdMUL1 = MakeButton(this, "cmdMUL1", "...", 4440, 1260, 375, kBoxHeight);
    lblIDX1 = MakeLabel(this, "lblIDX1", "IDX:", 420, 1620);
    txtIDX1 = MakeText(this, "txtIDX1", "", 1500, 1620, 2835);
    cmdIDX1 = MakeButton(this, "cmdIDX1", "...", 4440, 1620, 375, kBoxHeight);
    Label6 = MakeLabel(this, "Label6", "Altered/New muls:", 120, 2220, true);
    Label3 = MakeLabel(this, "Label3", "MUL:", 420, 2520);
    txtMUL2 = MakeText(this, "txtMUL2", "", 1500, 2520, 2835);
    cmdMUL2 = MakeButton(this, "cmdMUL2", "...", 4440, 2520, 375, kBoxHeight);
    lblIDX2 = MakeLabel(this, "lblIDX2", "IDX:", 420, 2880);
    txtIDX2 = MakeText(this, "txtIDX2", "", 1500, 2880, 2835);
    cmdIDX2 = MakeButton(this, "cmdIDX2", "...", 4440, 2880, 375, kBoxHeight);
    cmdCompare = MakeButton(this, "cmdCompare", "Compare", 5100, 120, 1395, kButtonHeight);
    cmdCompare->setDefault(true);
    cmdCancel = MakeButton(this, "cmdCancel", "Cancel", 5100, 600, 1395, kButtonHeight);
    StatusBar1 = MakeStatusBar(this);

    connect(cboMULType, &QComboBox::currentIndexChanged, this, [this] { cboMULType_Change(); });
    connect(cboMULType, &QComboBox::activated, this, [this] { cboMULType_Change(); });
    connect(cmdMUL1, &QPushButton::clicked, this, [this] { cmdMUL1_Click(); });
    connect(cmdMUL2, &QPushButton::clicked, this, [this] { cmdMUL2_Click(); });
    connect(cmdIDX1, &QPushButton::clicked, this, [this] { cmdIDX1_Click(); });
    connect(cmdIDX2, &QPushButton::clicked, this, [this] { cmdIDX2_Click(); });
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

bool frmCompare::SelectedHasIndex() const {
    const int id = cboMULType->currentData().toInt();
    return id >= 0 && id < kFileIDs && FileTypes[static_cast<size_t>(id)].ConstantIndex == 0;
}

void frmCompare::cboMULType_Change() {
    const bool idx = SelectedHasIndex();
    for (QWidget* control : {static_cast<QWidget*>(txtIDX1), static_cast<QWidget*>(txtIDX2),
                             static_cast<QWidget*>(cmdIDX1), static_cast<QWidget*>(cmdIDX2),
                             static_cast<QWidget*>(lblIDX1), static_cast<QWidget*>(lblIDX2)})
        control->setVisible(idx);
}

void frmCompare::BrowseMUL(QLineEdit* box) {
    const QString path = OpenDialog(this, "Mul file (*.mul) |*.mul", "Import from mul file",
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
    // A missing file ends the click without a word: the dialog stays. The IDX
    // boxes count only for a type with an index.
    if (!gFileIO.FileExist(Text(txtMUL1)) || !gFileIO.FileExist(Text(txtMUL2))) return;
    const bool idx = SelectedHasIndex();
    if (idx && (!gFileIO.FileExist(Text(txtIDX1)) || !gFileIO.FileExist(Text(txtIDX2)))) return;
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
