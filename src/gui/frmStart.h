#pragma once
// The main window: the tree of file types on the left, one page on the right,
// the status bar with its progress bar, and the File menu.
#include <QMainWindow>

#include <array>
#include <memory>

#include "base/PathLock.h"

class QAction;
class QLabel;
class QMenu;
class QProgressBar;
class QSplitter;
class QStatusBar;
class QTableView;
class QTimer;
class QTreeWidget;
class QTreeWidgetItem;

namespace quillet {

class BlockListModel;
class frmHexView;
class uBlockPreview;
class uLicense;
class uScrollPicture;

class frmStart : public QMainWindow {
    Q_OBJECT
public:
    explicit frmStart(QWidget* parent = nullptr);
    ~frmStart() override;

    // The one default instance, made at first use.
    static frmStart& Instance();
    static bool HasInstance();

    QSplitter* splitMenu;
    QTreeWidget* twMenu;
    QLabel* lblTitle;
    uLicense* pageLicense;
    uScrollPicture* pageMap;
    uScrollPicture* pageStatics;
    std::array<QTableView*, 12> lvPage{};
    std::array<BlockListModel*, 12> lvModel{};
    // Each list's page: the list, and beside it the preview of its current
    // row's picture (hidden for types without pictures).
    std::array<QSplitter*, 12> lvFrame{};
    std::array<uBlockPreview*, 12> lvPreview{};
    QStatusBar* sbStart;
    QProgressBar* pgProgress;
    QTimer* tmrWait;
    QMenu* mnuFile;
    QAction* mnuNew;
    QAction* mnuOpen;
    QAction* mnuSave;
    QAction* mnuSaveAs;
    QAction* mnuImport;
    QAction* mnuExport;
    QAction* mnuCompare;
    QAction* mnuGump;
    QAction* mnuArt;
    QAction* mnuQuit;
    QMenu* mnuPopup;
    std::array<QAction*, 10> mnuPop{};

    QString PatchFilename;

    // The wait service's side on this window.
    void WaitStart(const QString& text);
    void WaitStop();
    bool Waiting() const { return waiting_; }

    // File commands.
    void mnuNew_Click();
    void mnuOpen_Click();
    void mnuSave_Click();
    void mnuSaveAs_Click();

    // Shows the page of a tree node (the root: the start page).
    void ShowPageOf(QTreeWidgetItem* node);
    // The page of a used type, or nullptr.
    QWidget* PageOf(int FileID) const;
    // The FileID of a list page, or -1.
    int FileIDOfList(int index) const;
    // Opens the block of the list's selected row in the hex viewer.
    void lvPage_DblClick(int index);
    // Shows the picture of the list's current row beside it.
    void ShowPreview(int index);
    frmHexView* HexView();
    // The note of the picture pages when no radar colours were found.
    void ShowRadarNote();

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void CreateMenus();
    void CreatePages();
    QSize FirstStartSize();
    int FullTreeWidth();
    int TreeTextWidth() const;
    void FitTree();
    void ShowCursorBlock(int x, int y);
    void InstallHooks();
    void SetCaption();
    // A warning box: another program holds the lock of a patch file.
    void WarnInUse(const std::string& text, const char* notDone);

    QWidget* client_;
    QWidget* pages_;
    QTimer* treeFit_;
    int fittedTreeWidth_ = 0;
    QString cursorText_;
    // The lock on the file of PatchFilename, held while it is this window's
    // file: no other Quillet changes it behind the user's back.
    PathLock patchLock_;
    frmHexView* hexView_ = nullptr;
    bool waiting_ = false;
    bool unloaded_ = false;
};

}  // namespace quillet
