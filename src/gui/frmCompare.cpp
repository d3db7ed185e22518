#include "frmCompare.h"

#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QStatusBar>

#include "FileDialogs.h"
#include "actions/JobOutcome.h"
#include "actions/mClientCompare.h"
#include "actions/mImportJobs.h"
#include "core/mWait.h"
#include "cWindow.h"
#include "core/mMuls.h"
#include "mMenu.h"
#include "support/Services.h"

namespace quillet {

namespace {


std::string Text(const QLineEdit* edit) { return edit->text().toStdString(); }

// The drawn size of the one-type mode; the whole-client mode takes what its
// list needs, and may grow downwards.
constexpr int kDrawnWidth = 6615;
constexpr int kDrawnHeight = 3930;
constexpr int kTypeListHeight = 2400;

// A grid for a mode's fields, spaced as the dialog's own.
QGridLayout* ModeGrid(QWidget* frame, const QGridLayout* fields) {
    auto* grid = new QGridLayout(frame);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(fields->horizontalSpacing());
    grid->setVerticalSpacing(fields->verticalSpacing());
    grid->setColumnMinimumWidth(0, fields->columnMinimumWidth(0));
    grid->setColumnMinimumWidth(1, fields->columnMinimumWidth(1));
    grid->setColumnStretch(2, 1);
    return grid;
}

bool IsDirectory(const QLineEdit* edit) { return !edit->text().isEmpty() && QDir(edit->text()).exists(); }

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

    optOneType = new QRadioButton("One file type", this);
    optOneType->setObjectName("optOneType");
    optOneType->setChecked(true);
    optWholeClient = new QRadioButton("Whole client", this);
    optWholeClient->setObjectName("optWholeClient");
    fraOneType = new QWidget(this);
    fraOneType->setObjectName("fraOneType");
    fraClient = new QWidget(this);
    fraClient->setObjectName("fraClient");
    lblDir1 = MakeLabel(this, "lblDir1", "Base client:", true);
    txtDir1 = MakeText(this, "txtDir1", "", 2835);
    cmdDir1 = MakeBrowseButton(this, "cmdDir1");
    lblDir2 = MakeLabel(this, "lblDir2", "New client:", true);
    txtDir2 = MakeText(this, "txtDir2", "", 2835);
    cmdDir2 = MakeBrowseButton(this, "cmdDir2");
    lblTypes = MakeLabel(this, "lblTypes", "Types found in both:", true);
    lstTypes = new QListWidget(this);
    lstTypes->setObjectName("lstTypes");
    lstTypes->setMinimumHeight(Px(kTypeListHeight));
    lblSkipped = MakeLabel(this, "lblSkipped", "");
    lblSkipped->setWordWrap(true);
    // Room for the longest list of types one side lacks, so that the dialog
    // need not grow when the folders change.
    lblSkipped->setMinimumHeight(3 * lblSkipped->fontMetrics().lineSpacing());
    lblSkipped->setAlignment(Qt::AlignLeft | Qt::AlignTop);

    // Columns: 2 the paths, which take a wider dialog's room, 3 the "..." buttons.
    QGridLayout* fields = Arrange({120, 180, 300, 1080, 285, 120, 105, 120}, {cmdCompare, cmdCancel}, StatusBar1);
    auto* modes = new QHBoxLayout;
    modes->setSpacing(Px(kGroupGap));
    modes->addWidget(optOneType);
    modes->addWidget(optWholeClient);
    modes->addStretch(1);
    fields->addLayout(modes, 0, 0, 1, 4);
    GroupGap(fields, 1);
    fields->addWidget(fraOneType, 2, 0, 1, 4);
    fields->addWidget(fraClient, 3, 0, 1, 4);
    fields->setColumnStretch(2, 1);

    QGridLayout* one = ModeGrid(fraOneType, fields);
    one->addWidget(Label15, 0, 0, 1, 4);
    one->addWidget(Label1, 1, 1);
    one->addWidget(cboMULType, 1, 2, 1, 2);
    GroupGap(one, 2);
    one->addWidget(Label5, 3, 0, 1, 4);
    one->addWidget(Label2, 4, 1);
    one->addWidget(txtMUL1, 4, 2);
    one->addWidget(cmdMUL1, 4, 3);
    one->addWidget(lblIDX1, 5, 1);
    one->addWidget(txtIDX1, 5, 2);
    one->addWidget(cmdIDX1, 5, 3);
    GroupGap(one, 6);
    one->addWidget(Label6, 7, 0, 1, 4);
    one->addWidget(Label3, 8, 1);
    one->addWidget(txtMUL2, 8, 2);
    one->addWidget(cmdMUL2, 8, 3);
    one->addWidget(lblIDX2, 9, 1);
    one->addWidget(txtIDX2, 9, 2);
    one->addWidget(cmdIDX2, 9, 3);
    KeepRoomWhenHidden({lblIDX1, txtIDX1, cmdIDX1, lblIDX2, txtIDX2, cmdIDX2});

    QGridLayout* client = ModeGrid(fraClient, fields);
    client->addWidget(lblDir1, 0, 0, 1, 4);
    client->addWidget(txtDir1, 1, 1, 1, 2);
    client->addWidget(cmdDir1, 1, 3);
    GroupGap(client, 2);
    client->addWidget(lblDir2, 3, 0, 1, 4);
    client->addWidget(txtDir2, 4, 1, 1, 2);
    client->addWidget(cmdDir2, 4, 3);
    GroupGap(client, 5);
    client->addWidget(lblTypes, 6, 0, 1, 4);
    client->addWidget(lstTypes, 7, 1, 1, 3);
    client->addWidget(lblSkipped, 8, 1, 1, 3);
    client->setRowStretch(7, 1);
    fraClient->hide();
    Fit(kDrawnWidth, kDrawnHeight, true);

    connect(optOneType, &QRadioButton::toggled, this, [this] { optMode_Click(); });
    connect(cmdDir1, &QPushButton::clicked, this, [this] { cmdDir1_Click(); });
    connect(cmdDir2, &QPushButton::clicked, this, [this] { cmdDir2_Click(); });
    connect(txtDir1, &QLineEdit::textChanged, this, [this] { FindClientTypes(); });
    connect(txtDir2, &QLineEdit::textChanged, this, [this] { FindClientTypes(); });
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

void frmCompare::optMode_Click() {
    const bool whole = optWholeClient->isChecked();
    fraOneType->setVisible(!whole);
    fraClient->setVisible(whole);
    if (!whole) {
        Fit(kDrawnWidth, kDrawnHeight, true);
        return;
    }
    // The type list may grow with the dialog.
    layout()->activate();
    setMaximumHeight(QWIDGETSIZE_MAX);
    const QSize least = QSize(Px(kDrawnWidth), Px(kDrawnHeight)).expandedTo(layout()->totalMinimumSize());
    setMinimumSize(least);
    resize(least.expandedTo(QSize(width(), 0)));
}

void frmCompare::BrowseDir(QLineEdit* box) {
    const QString start = box->text().isEmpty() ? QString::fromStdString(gFileIO.exepath) : box->text();
    const QString path = FolderDialog(this, "Open client folder", start);
    if (!path.isEmpty()) box->setText(path);
}

void frmCompare::cmdDir1_Click() { BrowseDir(txtDir1); }
void frmCompare::cmdDir2_Click() { BrowseDir(txtDir2); }

void frmCompare::FindClientTypes() {
    lstTypes->clear();
    lblSkipped->clear();
    if (!IsDirectory(txtDir1) || !IsDirectory(txtDir2)) return;
    const ClientComparePlan plan = PlanClientCompare(Text(txtDir1), Text(txtDir2));
    std::vector<bool> inBoth(kFileIDs, false);
    for (const ClientCompareType& type : plan.Both) {
        inBoth[type.FileID] = true;
        auto* item = new QListWidgetItem(
            QString::fromStdString(FileTypes[type.FileID].Name) + " (" + QString::number(type.FileID) + ")", lstTypes);
        item->setData(Qt::UserRole, type.FileID);
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
        item->setCheckState(Qt::Checked);
        item->setToolTip(QString::fromStdString(type.Base.MUL + "\n" + type.New.MUL));
    }
    QStringList skipped;
    for (const uint8_t id : ClientFileTypes())
        if (!inBoth[id]) skipped << QString::fromStdString(FileTypes[id].Name);
    if (!skipped.isEmpty()) lblSkipped->setText("Not in both clients: " + skipped.join(", "));
}

std::vector<uint8_t> frmCompare::CheckedTypes() const {
    std::vector<uint8_t> types;
    for (int row = 0; row < lstTypes->count(); ++row)
        if (lstTypes->item(row)->checkState() == Qt::Checked)
            types.push_back(static_cast<uint8_t>(lstTypes->item(row)->data(Qt::UserRole).toInt()));
    return types;
}

void frmCompare::cmdCompare_Click() {
    if (optWholeClient->isChecked())
        CompareWholeClients();
    else
        CompareOneType();
}

void frmCompare::CompareOneType() {
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

void frmCompare::CompareWholeClients() {
    // As in the other mode, nothing to compare ends the click without a word.
    const std::vector<uint8_t> types = CheckedTypes();
    if (!IsDirectory(txtDir1) || !IsDirectory(txtDir2) || types.empty()) return;

    hide();
    std::vector<TypeCompareSummary> summary;
    const Result outcome = CompareClients(PlanClientCompare(Text(txtDir1), Text(txtDir2), types), &summary);
    MenuRefresh();
    // One message: what each type gave, then what failed or was gone on past.
    std::string text;
    for (const TypeCompareSummary& type : summary)
        text += FileTypes[type.FileID].Name + ": " + std::to_string(type.Counts.Compared) + " blocks compared, " +
                std::to_string(type.Counts.Stored) + " added" + (type.Completed ? "" : " (stopped by a failure)") +
                "\r\n";
    const std::string told = OutcomeMessage(outcome);
    if (told.empty())
        MsgBox(text);
    else
        MsgBoxWarning(text + "\r\n" + told);
    done(QDialog::Accepted);
}

void frmCompare::cmdCancel_Click() { done(QDialog::Rejected); }


}  // namespace quillet
