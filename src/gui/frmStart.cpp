#include "frmStart.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QProgressBar>
#include <QStatusBar>
#include <QTableView>
#include <QTimer>
#include <QTreeWidget>

#include <algorithm>

#include "BlockListModel.h"
#include "FileDialogs.h"
#include "Icons.h"
#include "actions/JobOutcome.h"
#include "actions/mPatchJobs.h"
#include "actions/mStart.h"
#include "base/AppInfo.h"
#include "base/cError.h"
#include "cWindow.h"
#include "core/BlockRows.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "core/mWait.h"
#include "frmCompare.h"
#include "frmExport.h"
#include "frmGump.h"
#include "frmHexView.h"
#include "frmImport.h"
#include "mMenu.h"
#include "support/Services.h"
#include "uLicense.h"
#include "uScrollPicture.h"

namespace quillet {

namespace {
frmStart* gInstance = nullptr;

// Design geometry in twips.
constexpr int kTreeLeft = 60, kTreeTop = 60, kTreeWidth = 1935;
constexpr int kTitleLeft = 2040, kTitleTop = 60, kTitleHeight = 375;
constexpr int kPageGap = 40;
constexpr int kMargin = 60;
}  // namespace

frmStart& frmStart::Instance() {
    if (!gInstance) gInstance = new frmStart;
    return *gInstance;
}

bool frmStart::HasInstance() { return gInstance != nullptr; }

frmStart::frmStart(QWidget* parent) : QMainWindow(parent) {
    if (!gInstance) gInstance = this;
    setObjectName("frmStart");
    setAttribute(Qt::WA_DeleteOnClose, false);
    client_ = new QWidget(this);
    client_->setObjectName("client");
    setCentralWidget(client_);
    client_->installEventFilter(this);

    twMenu = new QTreeWidget(client_);
    twMenu->setObjectName("twMenu");
    twMenu->setHeaderHidden(true);
    twMenu->setRootIsDecorated(true);
    twMenu->setIconSize(QSize(16, 16));
    connect(twMenu, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem* node) { ShowPageOf(node); });
    connect(twMenu, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* node) {
        if (node) ShowPageOf(node);
    });

    lblTitle = new QLabel(client_);
    lblTitle->setObjectName("lblTitle");
    QFont titleFont("Arial");
    titleFont.setBold(true);
    titleFont.setPointSizeF(14.25);
    lblTitle->setFont(titleFont);
    lblTitle->setAutoFillBackground(true);
    QPalette palette = lblTitle->palette();
    palette.setColor(QPalette::Window, palette.color(QPalette::Dark));
    palette.setColor(QPalette::WindowText, palette.color(QPalette::HighlightedText));
    lblTitle->setPalette(palette);

    CreatePages();
    CreateMenus();

    sbStart = statusBar();
    sbStart->setObjectName("sbStart");
    sbStart->setSizeGripEnabled(true);
    pgProgress = new QProgressBar(sbStart);
    pgProgress->setObjectName("pgProgress");
    pgProgress->setRange(0, 100);
    pgProgress->setFixedSize(Px(1950), Px(255));
    pgProgress->setTextVisible(false);
    sbStart->addPermanentWidget(pgProgress);
    pgProgress->hide();

    tmrWait = new QTimer(this);
    tmrWait->setObjectName("tmrWait");
    tmrWait->setInterval(1000);
    connect(tmrWait, &QTimer::timeout, this, [this] {
        if (pgProgress->value() != WaitPercent) pgProgress->setValue(WaitPercent);
    });

    // The form's load.
    resize(Px(8550) + 60, Px(5475) + menuBar()->sizeHint().height() + sbStart->sizeHint().height());
    SetCaption();
    lblTitle->setText(" Quillet");
    gWindow.wLoad(this, true);
    if (FileTypes[0].Name.empty()) RegisterFileTypes();
    for (int id = 0; id < kFileIDs; ++id) {
        if (FileTypes[id].Name.empty()) continue;
        if (QWidget* page = PageOf(id)) page->setVisible(false);
    }
    InstallHooks();
    ApplyLayout();
}

frmStart::~frmStart() {
    if (gInstance == this) gInstance = nullptr;
}

void frmStart::CreatePages() {
    pageLicense = new uLicense(client_);
    pageMap = new uScrollPicture(client_);
    pageMap->setObjectName("pageMap");
    pageStatics = new uScrollPicture(client_);
    pageStatics->setObjectName("pageStatics");
    connect(pageMap, &uScrollPicture::MenuClick, this, [] { PopupMenu_Create(0); });
    connect(pageStatics, &uScrollPicture::MenuClick, this, [] { PopupMenu_Create(2); });
    for (int index = 0; index < 12; ++index) {
        auto* list = new QTableView(client_);
        list->setObjectName(QString("lvPage%1").arg(index));
        auto* model = new BlockListModel(list);
        list->setModel(model);
        list->setSelectionBehavior(QAbstractItemView::SelectRows);
        list->setSelectionMode(QAbstractItemView::ExtendedSelection);
        list->setEditTriggers(QAbstractItemView::NoEditTriggers);
        list->setShowGrid(false);
        list->setAlternatingRowColors(true);
        list->setWordWrap(false);
        list->verticalHeader()->hide();
        list->verticalHeader()->setDefaultSectionSize(list->fontMetrics().height() + 4);
        list->horizontalHeader()->setHighlightSections(false);
        list->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
        list->horizontalHeader()->setStretchLastSection(false);
        list->setContextMenuPolicy(Qt::CustomContextMenu);
        list->installEventFilter(this);
        connect(list, &QWidget::customContextMenuRequested, this, [this, index] {
            const int id = FileIDOfList(index);
            if (id >= 0) PopupMenu_Create(static_cast<uint8_t>(id));
        });
        connect(list, &QAbstractItemView::doubleClicked, this, [this, index] { lvPage_DblClick(index); });
        list->hide();
        lvPage[static_cast<size_t>(index)] = list;
        lvModel[static_cast<size_t>(index)] = model;
    }
    pageMap->hide();
    pageStatics->hide();
}

void frmStart::CreateMenus() {
    mnuFile = menuBar()->addMenu("&File");
    mnuFile->setObjectName("mnuFile");
    auto add = [this](const char* name, const char* caption) {
        QAction* action = mnuFile->addAction(caption);
        action->setObjectName(name);
        return action;
    };
    mnuNew = add("mnuNew", "New");
    mnuOpen = add("mnuOpen", "Open");
    mnuFile->addSeparator()->setObjectName("mnuT");
    mnuSave = add("mnuSave", "Save");
    mnuSaveAs = add("mnuSaveAs", "Save As");
    mnuFile->addSeparator()->setObjectName("mnuT2");
    mnuImport = add("mnuImport", "&Import");
    mnuExport = add("mnuExport", "&Export");
    mnuCompare = add("mnuCompare", "Compare...");
    mnuGump = add("mnuGump", "Import gump...");
    mnuFile->addSeparator()->setObjectName("nbuT3");
    mnuQuit = add("mnuQuit", "Quit");
    connect(mnuNew, &QAction::triggered, this, [this] { mnuNew_Click(); });
    connect(mnuOpen, &QAction::triggered, this, [this] { mnuOpen_Click(); });
    connect(mnuSave, &QAction::triggered, this, [this] { mnuSave_Click(); });
    connect(mnuSaveAs, &QAction::triggered, this, [this] { mnuSaveAs_Click(); });
    // The dialogs come into being at their command and go at their unload.
    connect(mnuImport, &QAction::triggered, this, [this] { frmImport(this).exec(); });
    connect(mnuExport, &QAction::triggered, this, [this] { frmExport(this).exec(); });
    connect(mnuCompare, &QAction::triggered, this, [this] { frmCompare(this).exec(); });
    connect(mnuGump, &QAction::triggered, this, [this] { frmGump(this).exec(); });
    connect(mnuQuit, &QAction::triggered, this, [this] { close(); });

    mnuPopup = new QMenu(this);
    mnuPopup->setObjectName("mnuPopup");
    mnuPop[0] = mnuPopup->addAction(QString());
    mnuPop[0]->setObjectName("mnuPop0");
    connect(mnuPopup, &QMenu::triggered, this, [](QAction* entry) {
        const QString tag = entry->data().toString();
        if (!tag.isEmpty()) PopupMenu_Run(tag);
    });
}

void frmStart::SetCaption() {
    setWindowTitle(QString(kAppTitle) + " - " + (PatchFilename.isEmpty() ? QString("New patch") : PatchFilename));
}

void frmStart::InstallHooks() {
    WaitHooks hooks;
    hooks.start = [this](const std::string& text) { WaitStart(QString::fromStdString(text)); };
    hooks.stop = [this] { WaitStop(); };
    hooks.doEvents = [] { QCoreApplication::processEvents(); };
    hooks.message = [this](const std::string& text) {
        QMessageBox::information(this, kAppTitle, QString::fromStdString(text));
    };
    hooks.warning = [this](const std::string& text) {
        QMessageBox::warning(this, kAppTitle, QString::fromStdString(text));
    };
    InstallWaitHooks(hooks);
}

void frmStart::WaitStart(const QString& text) {
    sbStart->showMessage(text);
    pgProgress->setValue(0);
    gWindow.Disable(this);
    // The progress bar and what holds it stay live; the timer moves it.
    for (QWidget* w = pgProgress; w && w != this; w = w->parentWidget()) w->setEnabled(true);
    tmrWait->start();
    pgProgress->show();
    waiting_ = true;
}

void frmStart::WaitStop() {
    gWindow.Enable(this);
    sbStart->clearMessage();
    pgProgress->setValue(0);
    tmrWait->stop();
    pgProgress->hide();
    waiting_ = false;
}

void frmStart::ApplyLayout() {
    // The tree keeps its width and the heading its left edge: only the
    // right-hand side grows. A client area too small for positive sizes
    // leaves the controls as they last fitted.
    const int width = client_->width();
    const int height = client_->height();
    // The tree was drawn for a small system font; it is widened just enough
    // for the longest node text in the font it has here.
    const int treeWidth = std::max(Px(kTreeWidth), twMenu->fontMetrics().horizontalAdvance("Statics (393216)") +
                                                       twMenu->indentation() + twMenu->iconSize().width() + 24);
    const int titleLeft = Px(kTreeLeft) + treeWidth + Px(kTitleLeft - kTreeLeft - kTreeWidth);
    const int titleWidth = width - titleLeft - Px(kMargin);
    const int pageTop = Px(kTitleTop) + Px(kTitleHeight) + Px(kPageGap);
    const int pageHeight = height - pageTop - Px(kMargin);
    const int treeHeight = height - Px(kTreeTop) - Px(kMargin);
    if (titleWidth > 0) lblTitle->setGeometry(titleLeft, Px(kTitleTop), titleWidth, Px(kTitleHeight));
    if (titleWidth > 0 && pageHeight > 0) {
        const QRect page(titleLeft, pageTop, titleWidth, pageHeight);
        pageMap->setGeometry(page);
        for (QTableView* list : lvPage) list->setGeometry(page);
        pageStatics->setGeometry(page);
        pageLicense->setGeometry(page);
    }
    if (treeHeight > 0) twMenu->setGeometry(Px(kTreeLeft), Px(kTreeTop), treeWidth, treeHeight);
}

bool frmStart::eventFilter(QObject* watched, QEvent* event) {
    if (watched == client_ && event->type() == QEvent::Resize) ApplyLayout();
    if (event->type() == QEvent::KeyRelease && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Delete) {
        for (int index = 0; index < 12; ++index) {
            if (watched != lvPage[static_cast<size_t>(index)]) continue;
            const int id = FileIDOfList(index);
            if (id >= 0) PopupMenu_Run("DELETE " + QString::number(id));
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

int frmStart::FileIDOfList(int index) const {
    for (int id = 3; id <= 254; ++id) {
        const FileTypeRec& row = FileTypes[static_cast<size_t>(id)];
        if (!row.Name.empty() && row.Page.kind == PageRef::Kind::List && row.Page.index == index) return id;
    }
    return -1;
}

void frmStart::ShowPageOf(QTreeWidgetItem* node) {
    if (!node) return;  // a click with nothing selected, as after a rebuild
    for (int id = 0; id <= 254; ++id)
        if (QWidget* page = PageOf(id)) page->setVisible(false);
    pageLicense->setVisible(false);
    const QString key = node->data(0, Qt::UserRole).toString();
    if (key != "PATCHES") {
        const int id = key.mid(1).toInt();
        if (id >= 0 && id < kFileIDs && !FileTypes[static_cast<size_t>(id)].Name.empty()) {
            lblTitle->setText(" " + QString::fromStdString(FileTypes[static_cast<size_t>(id)].Name));
            if (QWidget* page = PageOf(id)) page->setVisible(true);
        }
        return;
    }
    lblTitle->setText(" Quillet");
    pageLicense->setVisible(true);
}

QWidget* frmStart::PageOf(int FileID) const {
    const FileTypeRec& row = FileTypes[static_cast<size_t>(FileID)];
    if (row.Name.empty()) return nullptr;
    switch (row.Page.kind) {
        case PageRef::Kind::Map: return pageMap;
        case PageRef::Kind::Statics: return pageStatics;
        case PageRef::Kind::List: return lvPage[static_cast<size_t>(row.Page.index)];
        default: return nullptr;
    }
}

frmHexView* frmStart::HexView() {
    if (!hexView_) hexView_ = new frmHexView(this);
    return hexView_;
}

void frmStart::lvPage_DblClick(int index) {
    const int id = FileIDOfList(index);
    if (id < 0) return;
    QTableView* list = lvPage[static_cast<size_t>(index)];
    const QModelIndex current = list->selectionModel()->currentIndex();
    const QModelIndexList selected = list->selectionModel()->selectedRows();
    const int row = current.isValid() && list->selectionModel()->isRowSelected(current.row(), {})
                        ? current.row()
                        : (selected.isEmpty() ? -1 : selected.first().row());
    const int32_t block = BlockFromRowKey(lvModel[static_cast<size_t>(index)]->KeyAt(row).toStdString());
    if (block == -1) return;
    const PatchBlock& slot = PatchBlocks[static_cast<size_t>(id)].Blocks[static_cast<size_t>(block)];
    if (slot.Size < 1 || slot.Offset < 1) return;
    ByteArray bytes;
    try {
        Datafile_Read(DataFileHandle, slot.Offset, slot.Size, bytes);
    } catch (...) {
        gError.Log("frmStart.lvPage_DblClick");
        return;
    }
    frmHexView* view = HexView();
    view->LoadData(bytes, QString::fromStdString(FileTypes[static_cast<size_t>(id)].Name) + " block " +
                              QString::fromStdString(HexText(static_cast<uint32_t>(block))));
    view->exec();
}

void frmStart::mnuNew_Click() {
    PatchDispose();
    PatchNew();
    MenuRefresh();
    PatchFilename.clear();
    SetCaption();
}

void frmStart::mnuOpen_Click() {
    const QString path = OpenDialog(this, "MUO Patchfile (*.muo) |*.muo", "Open MUO Patch",
                                    QString::fromStdString(gFileIO.exepath));
    if (path.isEmpty() || !gFileIO.FileExist(path.toStdString())) return;
    // A file that cannot be read as a MUO file is told and left alone, before
    // anything of the open patch goes: that patch stays open under its own
    // name, so that a Save cannot write an empty patch over the file.
    if (const Result readable = CheckPatchFile(path.toStdString()); !readable) {
        MsgBoxWarning("The file could not be opened as a patch:\r\n" + readable.Text() +
                      "\r\nThe patch that was open stays open.");
        return;
    }
    const Result opened = OpenPatch(path.toStdString());
    MenuRefresh();
    // A load that stopped part-way keeps what it loaded, but not the file's
    // name: a Save of the part must not replace the whole.
    if (opened)
        PatchFilename = path;
    else
        PatchFilename.clear();
    SetCaption();
    TellOutcome(opened);
}

void frmStart::mnuSave_Click() {
    if (PatchFilename.isEmpty()) {
        mnuSaveAs_Click();
        return;
    }
    if (!SavePatch(PatchFilename.toStdString())) MsgBox("The patch could not be saved to " + PatchFilename.toStdString() +
                       ". The file that was there is unchanged; the log tells why.");
}

void frmStart::mnuSaveAs_Click() {
    const QString path = SaveDialog(this, "MUO Patchfile (*.muo) |*.muo", "Save MUO Patch",
                                    QString::fromStdString(gFileIO.exepath), 0);
    if (path.isEmpty()) return;
    // The patch takes the name even if the save failed: a second Save then
    // tries the same place again, as the user expects of the caption.
    if (!SavePatch(path.toStdString())) MsgBox("The patch could not be saved to " + path.toStdString() + ". The log tells why.");
    PatchFilename = path;
    SetCaption();
}

void frmStart::closeEvent(QCloseEvent* event) {
    // A long operation still runs below this call: its patch must not go.
    if (waiting_) {
        event->ignore();
        return;
    }
    if (!unloaded_) {
        unloaded_ = true;
        PatchDispose();
        gWindow.wSave(this);
    }
    event->accept();
}

}  // namespace quillet
