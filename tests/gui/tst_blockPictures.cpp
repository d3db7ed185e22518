// Blocks seen as pictures in the main window: the preview beside a list follows its current row, the hex
// viewer shows the picture above the bytes, and the popup writes a block as a PNG or a WAV file.
// How blocks decode: the library's tests; here what the user sees of them.
#include <QAction>
#include <QLabel>
#include <QMenu>
#include <QSplitter>
#include <QTableView>
#include <QTimer>
#include <QtTest>

#include "BlockListModel.h"
#include "FileDialogs.h"
#include "GuiTestEnv.h"
#include "actions/mStart.h"
#include "cWindow.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "frmHexView.h"
#include "frmStart.h"
#include "mMenu.h"
#include "operations/mArt.h"
#include "qtpictures/QImagePixels.h"
#include "support/Services.h"
#include "uBlockPreview.h"

using namespace quillet;

namespace {

// The list indexes of the types used here.
constexpr int kArt = 0, kSound = 2, kGumps = 4, kHues = 9;
// The checkerboard behind transparent pixels: its light and dark squares of 8 pixels.
const QRgb kLight = qRgb(255, 255, 255), kDark = qRgb(204, 204, 204);
const QRgb kRed = qRgb(248, 0, 0), kBlue = qRgb(0, 0, 248);  // as the 5-bit colours give them back

// An item of 20 by 10: the left half transparent, the right half red.
QImage HalfRed() {
    QImage picture(20, 10, QImage::Format_ARGB32);
    picture.fill(Qt::transparent);
    for (int y = 0; y < 10; ++y)
        for (int x = 10; x < 20; ++x) picture.setPixel(x, y, qRgb(255, 0, 0));
    return picture;
}

// A gump of 120 by 80 for the eye: a blue frame, a colour ramp inside, black (transparent) corners.
QImage Gump() {
    QImage picture(120, 80, QImage::Format_RGB32);
    for (int y = 0; y < 80; ++y)
        for (int x = 0; x < 120; ++x)
            picture.setPixel(x, y, x < 4 || y < 4 || x >= 116 || y >= 76 ? qRgb(0, 0, 255) : qRgb(2 * x, 3 * y, 128));
    for (int i = 0; i < 12; ++i) picture.setPixel(i, 0, qRgb(0, 0, 0));
    return picture;
}

// A Hues block as the verdata export makes it: 8 hues of 32 colours, each 152 bytes apart.
ByteArray Hues() {
    ByteArray block(1220, 0);
    for (int hue = 0; hue < 8; ++hue)
        for (int i = 0; i < 32; ++i) {
            const int colour = (hue * 4 % 32) << 10 | i << 5 | (31 - i);
            block[static_cast<size_t>(4 + 152 * hue + 2 * i)] = static_cast<uint8_t>(colour & 0xFF);
            block[static_cast<size_t>(5 + 152 * hue + 2 * i)] = static_cast<uint8_t>(colour >> 8);
        }
    return block;
}

void StoreItem(int32_t block, const QImage& picture) {
    const ByteArray bytes = EncodeArtItem(QImagePixels(picture));
    StoreBlock(kArtFileID, block, static_cast<int32_t>(bytes.size()), -1, bytes);
}

// Makes the block's row the list's current one, as a click does.
void SelectBlock(QTableView* list, int32_t block) {
    auto* model = qobject_cast<BlockListModel*>(list->model());
    for (int row = 0; row < model->rowCount(); ++row)
        if (model->BlockAt(row) == block) list->setCurrentIndex(model->index(row, 1));
}

// The whole factor the preview scaled the picture by, 0 when it is not a whole one.
int Zoom(const QImage& shown, int width, int height) {
    const int zoom = shown.width() / width;
    return shown.width() == zoom * width && shown.height() == zoom * height ? zoom : 0;
}

}  // namespace

class tst_blockPictures : public QObject {
    Q_OBJECT

private:
    guitest::Environment env;
    frmStart* form = nullptr;

    QTableView* List(int index) { return form->lvPage[static_cast<size_t>(index)]; }
    uBlockPreview* Preview(int index) { return form->lvPreview[static_cast<size_t>(index)]; }
    void ShowPage(const char* key) {
        form->twMenu->setCurrentItem(guitest::Node(form->twMenu, key));
        QCoreApplication::processEvents();
    }
    // The hex viewer of the list's selected block, looked at by look as soon as it shows.
    void OpenHexView(int index, const std::function<void(frmHexView*)>& look) {
        frmHexView* view = form->HexView();
        QTimer::singleShot(0, [&] {
            QCoreApplication::processEvents();
            look(view);
            view->reject();
        });
        form->lvPage_DblClick(index);
    }

private Q_SLOTS:
    void initTestCase() {
        form = &frmStart::Instance();
        form->show();
        QVERIFY(QTest::qWaitForWindowExposed(form));
        PatchNew();
        StoreItem(0x4005, HalfRed());
        StoreItem(0x4010, Gump().convertToFormat(QImage::Format_ARGB32).scaled(44, 90));
        StoreBlock(kArtFileID, 0x4006, 3, -1, ByteArray{1, 2, 3});  // no item: too short
        RecountBlocks(kArtFileID);
        QVERIFY(Gump_LoadBMP(QImagePixels(Gump()), 0x10));
        const ByteArray hues = Hues();
        StoreBlock(32, 0, static_cast<int32_t>(hues.size()), -1, hues);
        RecountBlocks(32);
        ByteArray sound(40, 0);  // a header, then four samples
        for (int sample : {1, 0, 2, 0, 3, 0, 4, 0}) sound.push_back(static_cast<uint8_t>(sample));
        StoreBlock(8, 3, static_cast<int32_t>(sound.size()), 0, sound);
        StoreBlock(8, 4, 40, 0, ByteArray(40, 0));  // a header alone: no samples
        RecountBlocks(8);
        MenuRefresh();
        env.CaptureMessages();
    }

    // The preview shows the current row's picture scaled by a whole factor, the checkerboard where the
    // picture is transparent, and its size; it is drawn anew for the room it has after a resize.
    void previewFollowsTheCurrentRow() {
        ShowPage("P4");
        uBlockPreview* preview = Preview(kArt);
        QVERIFY(preview->isVisible() && preview->Shown().isNull() && preview->lblText->text().isEmpty());
        QVERIFY(preview->geometry().left() > List(kArt)->geometry().right());  // beside the list
        // The list keeps room for its three columns.
        QVERIFY(List(kArt)->viewport()->width() >= 3 * Px(1500));
        SelectBlock(List(kArt), 0x4005);
        QCoreApplication::processEvents();
        QCOMPARE(preview->lblText->text(), QString("20 x 10 pixels"));
        const QImage shown = preview->Shown();
        const int zoom = Zoom(shown, 20, 10);
        QVERIFY2(zoom > 1, qPrintable(QString("%1x%2").arg(shown.width()).arg(shown.height())));
        QCOMPARE(QList<QRgb>({shown.pixel(0, 0), shown.pixel(8, 0), shown.pixel(15 * zoom, 5 * zoom)}),
                 QList<QRgb>({kDark, kLight, kRed}));
        guitest::Screenshot(form, "preview-art-item");
        QCOMPARE(guitest::LayoutFaults(form), QStringList());

        // A narrower pane: a smaller factor, the picture within the pane.
        QSplitter* frame = form->lvFrame[kArt];
        const int listWidth = frame->sizes().first(), narrow = 20 * 3 + 2 * Px(60);
        frame->setSizes({frame->width() - frame->handleWidth() - narrow, narrow});
        QCoreApplication::processEvents();
        const int narrower = Zoom(preview->Shown(), 20, 10);
        QVERIFY2(narrower >= 1 && narrower < zoom, qPrintable(QString("%1 then %2").arg(zoom).arg(narrower)));
        QVERIFY(preview->Shown().width() <= preview->width());
        frame->setSizes({listWidth, frame->width() - listWidth});

        SelectBlock(List(kArt), 0x4006);
        QCoreApplication::processEvents();
        QVERIFY(preview->Shown().isNull());
        QVERIFY2(preview->lblText->text().startsWith("Art block 4006 cannot be drawn: "),
                 qPrintable(preview->lblText->text()));
        QCOMPARE(guitest::LayoutFaults(form), QStringList());  // the reason wraps within the pane
        guitest::Screenshot(form, "preview-broken-item");
        SelectBlock(List(kArt), 0x4010);
        QCoreApplication::processEvents();
        QCOMPARE(preview->lblText->text(), QString("44 x 90 pixels"));
        MenuRefresh();  // a rebuilt list has no current row: nothing is previewed
        QVERIFY(preview->Shown().isNull() && preview->lblText->text().isEmpty());
    }

    void previewOfGumpsAndHues() {
        ShowPage("P12");
        SelectBlock(List(kGumps), 0x10);
        QCoreApplication::processEvents();
        const QImage gump = Preview(kGumps)->Shown();
        QCOMPARE(Preview(kGumps)->lblText->text(), QString("120 x 80 pixels"));
        // By a whole factor within the pane: the corner pixel that was black shows the checkerboard, the frame
        // its blue.
        QVERIFY(Zoom(gump, 120, 80) >= 1 && gump.width() <= Preview(kGumps)->width());
        QCOMPARE(QList<QRgb>({gump.pixel(0, 0), gump.pixel(gump.width() - 1, gump.height() - 1)}),
                 QList<QRgb>({kDark, kBlue}));
        guitest::Screenshot(form, "preview-gump");

        ShowPage("P32");
        SelectBlock(List(kHues), 0);
        QCoreApplication::processEvents();
        QCOMPARE(Preview(kHues)->lblText->text(), QString("256 x 64 pixels"));
        guitest::Screenshot(form, "preview-hues");
    }

    // Types whose blocks are no pictures give the whole page to the list.
    void noPreviewForSounds() {
        ShowPage("P8");
        SelectBlock(List(kSound), 3);
        QCoreApplication::processEvents();
        QVERIFY(List(kSound)->isVisible() && !Preview(kSound)->isVisible());
        QCOMPARE(List(kSound)->width(), form->lvFrame[kSound]->width());
    }

    void hexViewerShowsThePicture() {
        ShowPage("P12");
        SelectBlock(List(kGumps), 0x10);
        QString seen;
        OpenHexView(kGumps, [&](frmHexView* view) {
            seen = view->picHex->isVisible() ? view->picHex->lblText->text() : "no picture";
            // Above the rows, and at most 256 pixels high, with rows still in sight.
            QVERIFY(view->picHex->geometry().bottom() < view->lvHex->geometry().top());
            QVERIFY(view->picHex->Shown().height() <= 256 && view->lvHex->height() > 100);
            guitest::Screenshot(view, "hex-view-gump");
        });
        QCOMPARE(seen, QString("120 x 80 pixels"));
        ShowPage("P8");
        SelectBlock(List(kSound), 3);
        OpenHexView(kSound, [&](frmHexView* view) {
            seen = view->picHex->isVisible() ? view->picHex->lblText->text() : "no picture";
        });
        QCOMPARE(seen, QString("no picture"));
    }

    void popupEntriesPerType() {
        auto& pop = form->mnuPop;
        const struct {
            uint8_t FileID;
            bool picture, wave;
        } cases[] = {{4, true, false},   {8, false, true},  {12, true, false}, {32, true, false},
                     {14, false, false}, {0, false, false}, {2, false, false}};
        for (const auto& c : cases) {
            PopupMenu_Create(c.FileID);
            QCOMPARE(QList<bool>({pop[8]->isVisible(), pop[9]->isVisible()}), QList<bool>({c.picture, c.wave}));
            QCOMPARE(pop[8]->text() + "|" + pop[8]->data().toString() + "|" + pop[9]->text() + "|" +
                         pop[9]->data().toString(),
                     QString("Export picture...|PICTURE %1|Export to WAV...|WAVE %1").arg(c.FileID));
            QVERIFY(pop[7]->isVisible() && pop[7]->text() == "Delete");  // the rest stays as it was
            form->mnuPopup->hide();
        }
    }

    // The file dialog proposes the export folder and the block's name; the file holds the picture with its
    // transparent pixels, or the sound as WAV. A block that has neither is told, and no file is asked for.
    void popupExportsPictureAndSound() {
        QStringList asked;
        QString answer;
        SetFileDialogOverride([&](bool save, const QString& filter, const QString& title, const QString& path) {
            asked << QString("%1|%2|%3|%4").arg(save).arg(filter, title, path);
            return answer;
        });
        const QString exportDir = QString::fromStdString(gFileIO.exepath) + "export/";
        ShowPage("P12");
        SelectBlock(List(kGumps), 0x10);
        answer = env.Path("gump.png");
        PopupMenu_Run("PICTURE 12");
        QCOMPARE(asked, QStringList("1|PNG picture (*.png)|Export picture|" + exportDir + "Gumps_10.png"));
        const QImage written(answer);
        QCOMPARE(written.size(), QSize(120, 80));
        QCOMPARE(QList<QRgb>({written.pixel(0, 0), written.pixel(119, 79), written.pixel(12, 0)}),
                 QList<QRgb>({qRgba(0, 0, 0, 0), kBlue, kBlue}));

        ShowPage("P8");
        SelectBlock(List(kSound), 3);
        answer = env.Path("sound.wav");
        asked.clear();
        PopupMenu_Run("WAVE 8");
        QCOMPARE(asked, QStringList("1|WAV sound (*.wav)|Export to WAV|" + exportDir + "Sound_3.wav"));
        const QByteArray wave = guitest::ReadAll(answer);
        QVERIFY(wave.size() == 44 + 8 && wave.startsWith("RIFF") && wave.endsWith(QByteArray("\1\0\2\0\3\0\4\0", 8)));

        asked.clear();
        env.warnings.clear();
        SelectBlock(List(kSound), 4);
        PopupMenu_Run("WAVE 8");
        ShowPage("P4");
        SelectBlock(List(kArt), 0x4006);
        PopupMenu_Run("PICTURE 4");
        QCOMPARE(asked, QStringList());
        QCOMPARE(env.warnings.size(), size_t{2});
        QVERIFY2(QString::fromStdString(env.warnings[0]).startsWith("Sound block 4 has no WAV file"),
                 env.warnings[0].c_str());
        QVERIFY2(QString::fromStdString(env.warnings[1]).startsWith("Art block 4006 cannot be drawn"),
                 env.warnings[1].c_str());
        // Cancelled: nothing written.
        SelectBlock(List(kArt), 0x4005);
        answer.clear();
        PopupMenu_Run("PICTURE 4");
        QVERIFY(asked.size() == 1 && !QFile::exists(exportDir + "Art_4005.png"));
        SetFileDialogOverride(nullptr);
    }
};

QTEST_MAIN(tst_blockPictures)
#include "tst_blockPictures.moc"
