// Every window at a small, a common and a large font: no text cut, no control over another, the drawn
// sizes as the least a dialog takes, paths that grow with the dialog, a tree that shows its longest text,
// and a first start that shows the whole map page on a screen with room for it.
#include <QApplication>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QSplitter>
#include <QTableView>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

#include "GuiTestEnv.h"
#include "actions/mStart.h"
#include "cWindow.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "frmArt.h"
#include "frmCompare.h"
#include "frmExport.h"
#include "frmGump.h"
#include "frmHexView.h"
#include "frmImport.h"
#include "frmStart.h"
#include "mMenu.h"
#include "uLicense.h"
#include "uScrollPicture.h"

using namespace quillet;

// The faults, one per line, when there are any.
#define CHECK_LOOK(...)                                                   \
    do {                                                                  \
        const QStringList faults = Look(__VA_ARGS__);                     \
        QVERIFY2(faults.isEmpty(), qPrintable("\n" + faults.join("\n"))); \
    } while (false)

class tst_layout : public QObject {
    Q_OBJECT

    guitest::Environment env;
    QFont baseFont;

    static void Fonts() {
        QTest::addColumn<int>("points");
        for (int points : {8, 11, 14}) QTest::addRow("%dpt", points) << points;
    }
    void SetFont() {
        QFETCH(int, points);
        QFont font = baseFont;
        font.setPointSize(points);
        QApplication::setFont(font);
    }
    // The window shown as a user sees it, with its faults; a picture of it at 11 points.
    QStringList Look(QWidget* window, const QString& shot) {
        window->show();
        if (!QTest::qWaitForWindowExposed(window)) return {"not shown"};
        QCoreApplication::processEvents();
        if (QApplication::font().pointSize() == 11) guitest::Screenshot(window, shot);
        return guitest::LayoutFaults(window);
    }
    static bool AtLeast(QWidget* dialog, int widthTwips, int heightTwips) {
        return dialog->width() >= Px(widthTwips) && dialog->height() >= Px(heightTwips);
    }
    // A dialog with a path box grows in width only, and the path takes what it grows.
    static bool PathGrows(QWidget* dialog, QLineEdit* path) {
        if (dialog->minimumHeight() != dialog->maximumHeight()) return false;
        const int before = path->width();
        dialog->resize(dialog->width() + 150, dialog->height());
        QCoreApplication::processEvents();
        return path->width() == before + 150;
    }

private Q_SLOTS:
    void initTestCase() {
        baseFont = QApplication::font();
        if (FileTypes[0].Name.empty()) RegisterFileTypes();
    }
    void cleanupTestCase() { QApplication::setFont(baseFont); }

    void mainWindow_data() { Fonts(); }
    void mainWindow() {
        SetFont();
        auto form = std::make_unique<frmStart>();
        form->show();
        QVERIFY(QTest::qWaitForWindowExposed(form.get()));
        PatchDispose();
        PatchNew();
        MenuRefresh();
        QCoreApplication::processEvents();
        // The user narrows the tree; then a full patch's counts, the longest texts the tree shows, widen it.
        form->splitMenu->setSizes({60, form->splitMenu->width() - 60});
        for (int id = 0; id < kFileIDs; ++id)
            if (!FileTypes[static_cast<size_t>(id)].Name.empty())
                PatchBlocks[static_cast<size_t>(id)].Count = FileTypes[static_cast<size_t>(id)].NbrOfBlocks + 1;
        MenuRefresh();
        QCoreApplication::processEvents();
        QVERIFY(guitest::NodeTexts(form->twMenu).contains("Statics (458752)"));
        QTreeWidget* tree = form->twMenu;
        const int longest = static_cast<QAbstractItemView*>(tree)->sizeHintForColumn(0);
        QVERIFY2(tree->header()->sectionSize(0) >= longest && tree->viewport()->width() >= longest,
                 qPrintable(QString("tree %1 wide for %2").arg(tree->viewport()->width()).arg(longest)));

        CHECK_LOOK(form.get(), "main-start");
        for (const auto& [key, shot] :
             {std::pair<QString, QString>{"P0", "main-map"}, {"P2", "main-statics"}, {"P12", "main-list"}}) {
            tree->setCurrentItem(guitest::Node(tree, key));
            CHECK_LOOK(form.get(), shot);
        }

        // No radar colours here: the page says so under the picture. A screen with room shows all of it.
        tree->setCurrentItem(guitest::Node(tree, "P0"));
        QCoreApplication::processEvents();
        QVERIFY(form->pageMap->lblNote->isVisible() && form->pageMap->lblNote->text().contains("--radarcol"));
        const QRect screen = form->screen()->availableGeometry();
        QScrollArea* area = form->pageMap->scrollArea;
        if (screen.width() >= 1280 && screen.height() >= 900) {
            QCOMPARE(QList<int>({area->horizontalScrollBar()->maximum(), area->verticalScrollBar()->maximum()}),
                     QList<int>({0, 0}));
        } else {
            QVERIFY(screen.contains(form->frameGeometry()));
        }
        // Dragging the splitter widens the tree; the page gives the room.
        const QList<int> sizes = form->splitMenu->sizes();
        form->splitMenu->setSizes({sizes[0] + 40, sizes[1] - 40});
        QCOMPARE(tree->width(), sizes[0] + 40);
        PatchDispose();
    }

    void dialogs_data() { Fonts(); }
    void dialogs() {
        SetFont();
        frmImport import;
        CHECK_LOOK(&import, "frmImport");
        import.cboMULType->setCurrentIndex(5);  // Art: the IDX line shows
        CHECK_LOOK(&import, "frmImport-art");
        QVERIFY(AtLeast(&import, 7650, 4320) && PathGrows(&import, import.txtMUL));
        QCOMPARE(import.txtIDX->width(), import.txtMUL->width());

        frmExport exporter;
        CHECK_LOOK(&exporter, "frmExport");
        QVERIFY(AtLeast(&exporter, 7515, 1695) && exporter.minimumSize() == exporter.maximumSize());

        frmCompare compare;
        CHECK_LOOK(&compare, "frmCompare-map");
        compare.cboMULType->setCurrentIndex(2);  // Art: both IDX lines show
        CHECK_LOOK(&compare, "frmCompare-art");
        QVERIFY(AtLeast(&compare, 6615, 3930) && PathGrows(&compare, compare.txtMUL2));

        frmGump gump;
        CHECK_LOOK(&gump, "frmGump");
        QVERIFY(AtLeast(&gump, 6315, 1500) && PathGrows(&gump, gump.txtPicture));
        frmArt art;
        CHECK_LOOK(&art, "frmArt");
        QVERIFY(AtLeast(&art, 6315, 1500) && PathGrows(&art, art.txtPicture));

        frmHexView hex;
        hex.LoadData(ByteArray(300, 0x41), "Art block 1A");
        CHECK_LOOK(&hex, "frmHexView");
        QCOMPARE(hex.size(), QSize(Px(10215), Px(5655)));
        // A picture above the rows: opened again, the window is higher by it, and the rows keep their room.
        hex.hide();
        BlockPicture picture;
        picture.Reset(640, 480);
        hex.ShowPicture(picture);
        CHECK_LOOK(&hex, "frmHexView-picture");
        QVERIFY(hex.height() > Px(5655) && hex.lvHex->height() > Px(5655) / 2);
    }
};

// A screen with room for the whole map page, unless a real display is used.
int main(int argc, char** argv) {
    QTemporaryDir dir;
    if (qgetenv("QT_QPA_PLATFORM") == "offscreen") {
        const QString config = dir.filePath("screen.json");
        QFile file(config);
        if (!file.open(QIODevice::WriteOnly) ||
            file.write(R"({"screens": [{"name": "wide", "x": 0, "y": 0, "width": 1600, "height": 1000,
                           "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})") < 0)
            return 2;
        file.close();
        qputenv("QT_QPA_PLATFORM", "offscreen:configfile=" + config.toLocal8Bit());
    }
    QApplication app(argc, argv);
    tst_layout test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_layout.moc"
