#include "frmStart.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QProgressBar>
#include <QScreen>
#include <QScrollBar>
#include <QSplitter>
#include <QStatusBar>
#include <QStyle>
#include <QTableView>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

#include "BlockListModel.h"
#include "FileDialogs.h"
#include "Icons.h"
#include "actions/JobOutcome.h"
#include "actions/mBlockPictures.h"
#include "actions/mPatchJobs.h"
#include "actions/mStart.h"
#include "base/AppInfo.h"
#include "base/cError.h"
#include "cWindow.h"
#include "core/BlockRows.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "core/mWait.h"
#include "frmArt.h"
#include "frmCompare.h"
#include "frmExport.h"
#include "frmGump.h"
#include "frmHexView.h"
#include "frmImport.h"
#include "mMenu.h"
#include "support/Services.h"
#include "uBlockPreview.h"
#include "uLicense.h"
#include "uScrollPicture.h"
#include "viewers/BlockPictures.h"
#include "viewers/mMap.h"
#include "viewers/mRadarCol.h"

namespace quillet {

namespace {
frmStart* gInstance = nullptr;

// Drawn lengths in twips: the tree's width, the heading's height, the
// margins around the client area, the gap between heading and page. The
// splitter's handle, between tree and heading, is as wide as the style has it.
constexpr int kTreeWidth = 1935;
constexpr int kTitleHeight = 375;
constexpr int kMargin = 60;
constexpr int kPageGap = 40;
// A map block covers 8 by 8 tiles.
constexpr int kTilesPerBlock = 8;
// The room a list's preview is first given beside it.
constexpr int kPreviewWidth = 3000;
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

    // The tree on the left, the heading and the page on the right; the
    // splitter between them lets the user widen the tree, while a larger
    // window only widens the right-hand side.
    splitMenu = new QSplitter(Qt::Horizontal, client_);
    splitMenu->setObjectName("splitMenu");
    splitMenu->setChildrenCollapsible(false);
    auto* clientLayout = new QHBoxLayout(client_);
    clientLayout->setContentsMargins(Px(kMargin), Px(kMargin), Px(kMargin), Px(kMargin));
    clientLayout->addWidget(splitMenu);

    twMenu = new QTreeWidget(splitMenu);
    twMenu->setObjectName("twMenu");
    twMenu->setHeaderHidden(true);
    twMenu->setRootIsDecorated(true);
    twMenu->setIconSize(QSize(16, 16));
    // The column is never narrower than its longest text: a tree narrower
    // than that scrolls sideways.
    twMenu->header()->setStretchLastSection(true);
    twMenu->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    connect(twMenu, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem* node) { ShowPageOf(node); });
    connect(twMenu, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* node) {
        if (node) ShowPageOf(node);
    });
    // A rebuilt or expanded tree is fitted once the events of the rebuild are through.
    treeFit_ = new QTimer(this);
    treeFit_->setSingleShot(true);
    treeFit_->setInterval(0);
    connect(treeFit_, &QTimer::timeout, this, [this] { FitTree(); });
    auto scheduleFit = [this] { treeFit_->start(); };
    connect(twMenu->model(), &QAbstractItemModel::rowsInserted, this, scheduleFit);
    connect(twMenu->model(), &QAbstractItemModel::dataChanged, this, scheduleFit);
    connect(twMenu, &QTreeView::expanded, this, scheduleFit);

    auto* pageSide = new QWidget(splitMenu);
    pageSide->setObjectName("pageSide");
    auto* sideLayout = new QVBoxLayout(pageSide);
    sideLayout->setContentsMargins(0, 0, 0, 0);
    sideLayout->setSpacing(Px(kPageGap));

    lblTitle = new QLabel(pageSide);
    lblTitle->setObjectName("lblTitle");
    QFont titleFont("Arial");
    titleFont.setBold(true);
    titleFont.setPointSizeF(14.25);
    lblTitle->setFont(titleFont);
    lblTitle->setAutoFillBackground(true);
    lblTitle->setMinimumHeight(Px(kTitleHeight));
    lblTitle->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    QPalette palette = lblTitle->palette();
    palette.setColor(QPalette::Window, palette.color(QPalette::Dark));
    palette.setColor(QPalette::WindowText, palette.color(QPalette::HighlightedText));
    lblTitle->setPalette(palette);
    sideLayout->addWidget(lblTitle);

    // All pages share one place; exactly one of them is visible.
    pages_ = new QWidget(pageSide);
    pages_->setObjectName("pages");
    sideLayout->addWidget(pages_, 1);
    CreatePages();
    CreateMenus();
    splitMenu->setStretchFactor(0, 0);
    splitMenu->setStretchFactor(1, 1);
    splitMenu->setSizes({Px(kTreeWidth), Px(8550 - kTreeWidth)});

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

    // The form's load. The first start shows the whole map page if the
    // screen has room; later starts take the place saved by the last run.
    if (FileTypes[0].Name.empty()) RegisterFileTypes();
    ShowRadarNote();
    resize(FirstStartSize());
    SetCaption();
    lblTitle->setText(" Quillet");
    gWindow.wLoad(this, true);
    for (int id = 0; id < kFileIDs; ++id) {
        if (FileTypes[id].Name.empty()) continue;
        if (QWidget* page = PageOf(id)) page->setVisible(false);
    }
    for (int index = 0; index < 12; ++index) ShowPreview(index);
    InstallHooks();
}

frmStart::~frmStart() {
    if (gInstance == this) gInstance = nullptr;
}

void frmStart::CreatePages() {
    auto* stack = new QGridLayout(pages_);
    stack->setContentsMargins(0, 0, 0, 0);
    pageLicense = new uLicense(pages_);
    pageMap = new uScrollPicture(pages_);
    pageMap->setObjectName("pageMap");
    pageStatics = new uScrollPicture(pages_);
    pageStatics->setObjectName("pageStatics");
    connect(pageMap, &uScrollPicture::MenuClick, this, [] { PopupMenu_Create(0); });
    connect(pageStatics, &uScrollPicture::MenuClick, this, [] { PopupMenu_Create(2); });
    for (uScrollPicture* page : {pageMap, pageStatics}) {
        connect(page, &uScrollPicture::CursorAt, this, [this](int x, int y) { ShowCursorBlock(x, y); });
        connect(page, &uScrollPicture::CursorLeft, this, [this] { ShowCursorBlock(-1, -1); });
    }
    stack->addWidget(pageLicense, 0, 0);
    stack->addWidget(pageMap, 0, 0);
    stack->addWidget(pageStatics, 0, 0);
    for (int index = 0; index < 12; ++index) {
        // The list keeps the width of its columns; a wider page widens the preview.
        auto* frame = new QSplitter(Qt::Horizontal, pages_);
        frame->setObjectName(QString("lvFrame%1").arg(index));
        frame->setChildrenCollapsible(false);
        auto* list = new QTableView(frame);
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
        // A rebuilt list has no current row, and a deleted row may have been it.
        connect(list->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
                [this, index] { ShowPreview(index); });
        connect(model, &QAbstractItemModel::modelReset, this, [this, index] { ShowPreview(index); });
        auto* preview = new uBlockPreview(frame);
        preview->setObjectName(QString("lvPreview%1").arg(index));
        frame->setStretchFactor(0, 0);
        frame->setStretchFactor(1, 1);
        const int listWidth = 3 * Px(1500) + 2 * list->frameWidth() + style()->pixelMetric(QStyle::PM_ScrollBarExtent);
        frame->setSizes({listWidth, Px(kPreviewWidth)});
        frame->hide();
        stack->addWidget(frame, 0, 0);
        lvPage[static_cast<size_t>(index)] = list;
        lvModel[static_cast<size_t>(index)] = model;
        lvFrame[static_cast<size_t>(index)] = frame;
        lvPreview[static_cast<size_t>(index)] = preview;
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
    mnuArt = add("mnuArt", "Import art...");
    mnuFile->addSeparator()->setObjectName("nbuT3");
    mnuQuit = add("mnuQuit", "Quit");
    mnuOpen->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_O));
    mnuSave->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_S));
    mnuQuit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    connect(mnuNew, &QAction::triggered, this, [this] { mnuNew_Click(); });
    connect(mnuOpen, &QAction::triggered, this, [this] { mnuOpen_Click(); });
    connect(mnuSave, &QAction::triggered, this, [this] { mnuSave_Click(); });
    connect(mnuSaveAs, &QAction::triggered, this, [this] { mnuSaveAs_Click(); });
    // The dialogs come into being at their command and go at their unload.
    connect(mnuImport, &QAction::triggered, this, [this] { frmImport(this).exec(); });
    connect(mnuExport, &QAction::triggered, this, [this] { frmExport(this).exec(); });
    connect(mnuCompare, &QAction::triggered, this, [this] { frmCompare(this).exec(); });
    connect(mnuGump, &QAction::triggered, this, [this] { frmGump(this).exec(); });
    connect(mnuArt, &QAction::triggered, this, [this] { frmArt(this).exec(); });
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
        // Every message the jobs show tells of something that did not work.
        QMessageBox::warning(this, kAppTitle, QString::fromStdString(text));
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

QSize frmStart::FirstStartSize() {
    // The window around the map page at its full size, with room for a tree
    // of today's texts; a screen too small for that gets a window that fits
    // it, and the page scrolls.
    const QSize page = pageMap->sizeHint();
    const int treeWidth = std::max(Px(kTreeWidth), FullTreeWidth());
    QSize wanted(2 * Px(kMargin) + treeWidth + splitMenu->handleWidth() + page.width(),
                 menuBar()->sizeHint().height() + 2 * Px(kMargin) +
                     std::max(lblTitle->minimumHeight(), lblTitle->sizeHint().height()) + Px(kPageGap) + page.height() +
                     sbStart->sizeHint().height());
    splitMenu->setSizes({treeWidth, page.width()});
    QScreen* screen = this->screen() ? this->screen() : QGuiApplication::primaryScreen();
    if (!screen) return wanted;
    // The window manager's frame is not known before the window shows: leave room for a usual one.
    const QSize room = screen->availableGeometry().size() - QSize(16, 48);
    // Narrower than the page: its scroll bar takes height of its own.
    if (wanted.width() > room.width()) wanted.rheight() += style()->pixelMetric(QStyle::PM_ScrollBarExtent);
    return wanted.boundedTo(room).expandedTo(QSize(Px(8550), Px(5475)).boundedTo(room));
}

int frmStart::FullTreeWidth() {
    // The tree as a full patch would have it, each type with all its blocks,
    // measured and taken away again: the real one is built by the refresh.
    auto* root = new QTreeWidgetItem(twMenu, QStringList("Patch"));
    root->setIcon(0, MulIcon(1));
    for (const FileTypeRec& row : FileTypes) {
        if (row.Name.empty()) continue;
        auto* node = new QTreeWidgetItem(
            root, QStringList(QString::fromStdString(row.Name) + " (" + QString::number(row.NbrOfBlocks + 1) + ")"));
        node->setIcon(0, MulIcon(row.ImageIndex));
    }
    root->setExpanded(true);
    const int width = TreeTextWidth();
    twMenu->clear();
    return width;
}

int frmStart::TreeTextWidth() const {
    // The widest node at its depth, with the tree's frame and, when the nodes
    // do not fit its height, its vertical scroll bar.
    const int scrollBar =
        twMenu->verticalScrollBar()->isVisible() ? twMenu->verticalScrollBar()->sizeHint().width() : 0;
    return static_cast<const QAbstractItemView*>(twMenu)->sizeHintForColumn(0) + 2 * twMenu->frameWidth() + scrollBar;
}

void frmStart::FitTree() {
    // The column never gets narrower than its longest text, so a narrow tree
    // scrolls sideways. The tree widens by itself when its texts have grown
    // past the width it was last fitted to; a width the user dragged stays
    // until then.
    twMenu->header()->setMinimumSectionSize(static_cast<const QAbstractItemView*>(twMenu)->sizeHintForColumn(0));
    const int needed = TreeTextWidth();
    if (needed <= fittedTreeWidth_) return;
    fittedTreeWidth_ = needed;
    QList<int> sizes = splitMenu->sizes();
    if (sizes.size() == 2 && sizes[0] < needed) {
        sizes[1] = std::max(0, sizes[1] - (needed - sizes[0]));
        sizes[0] = needed;
        splitMenu->setSizes(sizes);
    }
}

void frmStart::ShowCursorBlock(int x, int y) {
    // The block under the mouse on a picture page, and the tiles it covers;
    // the text goes when the mouse leaves the picture.
    if (x < 0 || y < 0) {
        if (!cursorText_.isEmpty() && sbStart->currentMessage() == cursorText_) sbStart->clearMessage();
        cursorText_.clear();
        return;
    }
    const int tileX = x * kTilesPerBlock, tileY = y * kTilesPerBlock;
    cursorText_ = QString("Block %1 at %2, %3; tiles %4, %5 to %6, %7")
                      .arg(static_cast<int64_t>(x) * kGridRows + y)
                      .arg(x)
                      .arg(y)
                      .arg(tileX)
                      .arg(tileY)
                      .arg(tileX + kTilesPerBlock - 1)
                      .arg(tileY + kTilesPerBlock - 1);
    sbStart->showMessage(cursorText_);
}

void frmStart::ShowRadarNote() {
    // Without the client's radar colours every block is black; the pages say
    // why, and how to give the colours.
    QString note;
    if (!RadarColorsFound()) {
        const QString where = ClientLocation().UO2DPath.empty()
                                  ? QString("the client's folder is not known")
                                  : "there is no radarcol.mul in " + QString::fromStdString(ClientLocation().UO2DPath);
        note = "No radar colours were found (" + where +
               "), so every block is drawn black. Start Quillet in a folder that holds the client's "
               "radarcol.mul, or install the client in Wine so that its folder is known; "
               "\"quillet-cli render --radarcol FILE\" draws a page with the colours of a file you name.";
    }
    pageMap->SetNote(note);
    pageStatics->SetNote(note);
}

bool frmStart::eventFilter(QObject* watched, QEvent* event) {
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
        case PageRef::Kind::List: return lvFrame[static_cast<size_t>(row.Page.index)];
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
    const int32_t block = CurrentBlock(lvPage[static_cast<size_t>(index)]);
    if (block == -1) return;
    const PatchBlock& slot = std::as_const(PatchBlocks[static_cast<size_t>(id)].Blocks)[static_cast<size_t>(block)];
    if (slot.Size < 1 || slot.Offset < 1) return;
    ByteArray bytes;
    try {
        Datafile_Read(DataFileHandle, slot.Offset, slot.Size, bytes);
    } catch (...) {
        gError.Log("frmStart.lvPage_DblClick");
        return;
    }
    frmHexView* view = HexView();
    view->LoadData(bytes, QString::fromStdString(BlockName(id, block)));
    // A block that is a picture is shown as one above its bytes; one that
    // cannot be drawn shows its bytes alone, and the preview beside the list says why.
    BlockPicture picture;
    if (HasPictures(id) && PictureOfBlock(id, block, picture)) view->ShowPicture(std::move(picture));
    view->exec();
}

void frmStart::ShowPreview(int index) {
    const int id = FileIDOfList(index);
    uBlockPreview* preview = lvPreview[static_cast<size_t>(index)];
    const bool pictures = id >= 0 && HasPictures(id);
    preview->setVisible(pictures);
    if (!pictures) return;
    QTableView* list = lvPage[static_cast<size_t>(index)];
    const QModelIndex current = list->selectionModel()->currentIndex();
    const int32_t block = current.isValid() ? lvModel[static_cast<size_t>(index)]->BlockAt(current.row()) : -1;
    if (block < 0) {
        preview->Clear();
        return;
    }
    BlockPicture picture;
    if (const Result drawn = PictureOfBlock(id, block, picture))
        preview->ShowPicture(std::move(picture));
    else
        preview->ShowFailure(QString::fromStdString(drawn.Text()));
}

void frmStart::WarnInUse(const std::string& text, const char* notDone) {
    QMessageBox::warning(this, kAppTitle, QString::fromStdString(text) + "\n" + notDone);
}

void frmStart::mnuNew_Click() {
    PatchDispose();
    PatchNew();
    MenuRefresh();
    PatchFilename.clear();
    patchLock_.Release();
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
    // A file that another program holds is not opened: the patch open now
    // stays, and so does its lock.
    PathLock lock;
    if (patchLock_.Covers(path.toStdString())) lock = std::move(patchLock_);  // this window's own file
    if (const Result locked = LockPatchFile(lock, path.toStdString()); !locked) {
        WarnInUse(locked.Text(), "It was not opened.");
        return;
    }
    const Result opened = OpenPatch(path.toStdString());
    MenuRefresh();
    // A load that stopped part-way keeps what it loaded, but neither the
    // file's name nor its lock: a Save of the part must not replace the whole.
    if (opened) {
        PatchFilename = path;
        patchLock_ = std::move(lock);
    } else {
        PatchFilename.clear();
        patchLock_ = PathLock();
    }
    SetCaption();
    TellOutcome(opened);
}

void frmStart::mnuSave_Click() {
    if (PatchFilename.isEmpty()) {
        mnuSaveAs_Click();
        return;
    }
    const std::string file = PatchFilename.toStdString();
    if (const Result locked = LockPatchFile(patchLock_, file); !locked) {
        WarnInUse(locked.Text(), "The patch was not saved.");
        return;
    }
    if (!SaveLockedPatch(patchLock_, file))
        MsgBox("The patch could not be saved to " + file +
               ". The file that was there is unchanged; the log tells why.");
}

void frmStart::mnuSaveAs_Click() {
    const QString path = SaveDialog(this, "MUO Patchfile (*.muo) |*.muo", "Save MUO Patch",
                                    QString::fromStdString(gFileIO.exepath), 0);
    if (path.isEmpty()) return;
    // The lock of the file open now is kept until the new one is held.
    PathLock lock;
    if (patchLock_.Covers(path.toStdString())) lock = std::move(patchLock_);
    if (const Result locked = LockPatchFile(lock, path.toStdString()); !locked) {
        WarnInUse(locked.Text(), "The patch was not saved.");
        return;
    }
    // The patch takes the name even if the save failed: a second Save then
    // tries the same place again, as the user expects of the caption.
    if (!SaveLockedPatch(lock, path.toStdString()))
        MsgBox("The patch could not be saved to " + path.toStdString() + ". The log tells why.");
    PatchFilename = path;
    patchLock_ = std::move(lock);
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
        patchLock_.Release();
        gWindow.wSave(this);
    }
    event->accept();
}

}  // namespace quillet
