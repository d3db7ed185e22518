// The picture page's selection: press and release with the left button
// invert a rectangle on the kept image, a right press asks for the menu.
#include <QApplication>
#include <QMouseEvent>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QtTest>

#include "GuiTestEnv.h"
#include "uScrollPicture.h"

using namespace quillet;

class tst_uScrollPicture : public QObject {
    Q_OBJECT

    static QRgb At(const uScrollPicture& picture, int x, int y) { return picture.Picture().pixel(x, y); }

private Q_SLOTS:
    void drawsThroughTheCanvas() {
        uScrollPicture picture;
        const Canvas canvas = picture.hDC();
        QCOMPARE(canvas.width, 768);
        QCOMPARE(canvas.height, 512);
        SetPixelV(canvas, 767, 511, 0x0000FF);  // red 255: red + 256 green + 65536 blue
        SetPixelV(canvas, 768, 0, 0xFFFFFF);    // outside: ignored
        QCOMPARE(At(picture, 767, 511), qRgb(255, 0, 0));
        picture.Cls();
        QCOMPARE(At(picture, 767, 511), picture.palette().color(QPalette::Window).rgb());
    }

    // A wider picture: drawn, scrolled to and selected over its whole width (hovering: tst_frmStart); back at
    // 768 nothing of it is left.
    void takesTheWidthItIsGiven() {
        uScrollPicture picture;
        picture.resize(600, 400);
        picture.show();
        QVERIFY(QTest::qWaitForWindowExposed(&picture));
        const QSize classicHint = picture.sizeHint();
        picture.SetWidth(896);
        const Canvas canvas = picture.hDC();
        QCOMPARE(QList<int>({canvas.width, picture.Width(), picture.picScroll->width()}), QList<int>({896, 896, 896}));
        QCOMPARE(picture.sizeHint(), classicHint + QSize(128, 0));
        SetPixelV(canvas, 895, 511, 0x0000FF);
        picture.Refresh();
        QCOMPARE(At(picture, 895, 511), qRgb(255, 0, 0));
        QScrollBar* across = picture.scrollArea->horizontalScrollBar();
        across->setValue(across->maximum());
        QCOMPARE(picture.picScroll->visibleRegion().boundingRect().right(), 895);  // the last column in sight
        const QRgb background = At(picture, 880, 5);
        QTest::mousePress(picture.picScroll, Qt::LeftButton, {}, QPoint(880, 5));
        QTest::mouseRelease(picture.picScroll, Qt::LeftButton, {}, QPoint(896, 7));
        QCOMPARE(QList<int>({picture.X1, picture.X2}), QList<int>({880, 896}));
        QCOMPARE(At(picture, 895, 6), background ^ 0x00FFFFFFu);

        picture.SetWidth(768);
        QCOMPARE(QList<int>({picture.hDC().width, picture.picScroll->width(), picture.X1}), QList<int>({768, 768, -1}));
        QCOMPARE(picture.sizeHint(), classicHint);
    }

    void selectionInvertsWithoutLastRowAndColumn() {
        uScrollPicture picture;
        picture.resize(800, 600);
        const QRgb background = At(picture, 0, 0);
        QTest::mousePress(picture.picScroll, Qt::LeftButton, {}, QPoint(10, 20));
        QTest::mouseRelease(picture.picScroll, Qt::LeftButton, {}, QPoint(13, 22));
        QCOMPARE(picture.X1, 10);
        QCOMPARE(picture.Y1, 20);
        QCOMPARE(picture.X2, 13);
        QCOMPARE(picture.Y2, 22);
        const QRgb inverted = background ^ 0x00FFFFFFu;
        QCOMPARE(At(picture, 10, 20), inverted);
        QCOMPARE(At(picture, 12, 21), inverted);
        QCOMPARE(At(picture, 13, 21), background);  // right column left out
        QCOMPARE(At(picture, 12, 22), background);  // bottom row left out

        // Dragged up and to the left: the fields keep the order they came in.
        QTest::mousePress(picture.picScroll, Qt::LeftButton, {}, QPoint(50, 60));
        QCOMPARE(At(picture, 10, 20), background);  // the first rectangle is gone
        QTest::mouseRelease(picture.picScroll, Qt::LeftButton, {}, QPoint(40, 55));
        QCOMPARE(picture.X1, 50);
        QCOMPARE(picture.X2, 40);
        QCOMPARE(At(picture, 40, 55), inverted);
        QCOMPARE(At(picture, 49, 59), inverted);
        QCOMPARE(At(picture, 50, 59), background);
    }

    void clickWithoutMovementSelectsOnePixelInvertingNothing() {
        uScrollPicture picture;
        picture.resize(800, 600);
        const QImage before = picture.Picture();
        QTest::mouseClick(picture.picScroll, Qt::LeftButton, {}, QPoint(5, 5));
        QCOMPARE(picture.X1, picture.X2);
        QCOMPARE(picture.Y1, picture.Y2);
        QCOMPARE(picture.Picture(), before);
    }

    void rightPressAsksForTheMenu() {
        uScrollPicture picture;
        QSignalSpy spy(&picture, &uScrollPicture::MenuClick);
        QTest::mousePress(picture.picScroll, Qt::RightButton, {}, QPoint(5, 5));
        QCOMPARE(spy.count(), 1);
        QCOMPARE(picture.X1, -1);
        QCOMPARE(picture.Y2, -1);
    }

    // Only the picture takes the mouse: a press beside it, on the page's background, starts nothing.
    void pressBesideThePictureStartsNothing() {
        uScrollPicture picture;
        picture.resize(1000, 700);
        picture.show();
        QVERIFY(QTest::qWaitForWindowExposed(&picture));
        QSignalSpy menu(&picture, &uScrollPicture::MenuClick);
        const QPoint beside(picture.picScroll->mapTo(&picture, QPoint(picture.Width() + 20, 100)));
        QWidget* under = picture.childAt(beside);
        QVERIFY(under != picture.picScroll && under);
        const QPoint at = under->mapFrom(&picture, beside);
        QTest::mousePress(under, Qt::LeftButton, {}, at);
        QTest::mouseRelease(under, Qt::LeftButton, {}, at + QPoint(5, 5));
        QTest::mousePress(under, Qt::RightButton, {}, at);
        QVERIFY(picture.X1 == -1 && picture.X2 == -1 && menu.isEmpty());
    }

    // While the left button is held, the rectangle shows on the screen; the kept image changes at the release.
    void selectionShowsWhileDragging() {
        uScrollPicture picture;
        picture.show();
        QVERIFY(QTest::qWaitForWindowExposed(&picture));
        QSignalSpy cursor(&picture, &uScrollPicture::CursorAt);
        const QImage kept = picture.Picture();
        QTest::mousePress(picture.picScroll, Qt::LeftButton, {}, QPoint(10, 10));
        QMouseEvent move(QEvent::MouseMove, QPointF(30, 20), picture.picScroll->mapToGlobal(QPointF(30, 20)),
                         Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(picture.picScroll, &move);
        const QImage shown = picture.picScroll->grab().toImage();
        QCOMPARE(shown.pixel(15, 15), kept.pixel(15, 15) ^ 0x00FFFFFFu);
        QCOMPARE(shown.pixel(30, 15), kept.pixel(30, 15));  // the right column is left out, as at the release
        QCOMPARE(picture.Picture(), kept);
        QCOMPARE(cursor.count(), 1);
        QCOMPARE(cursor.first(), QVariantList({30, 20}));
        QTest::mouseRelease(picture.picScroll, Qt::LeftButton, {}, QPoint(30, 20));
        QCOMPARE(picture.Picture().pixel(15, 15), kept.pixel(15, 15) ^ 0x00FFFFFFu);
    }

    void clsDropsTheSelection() {
        uScrollPicture picture;
        QTest::mousePress(picture.picScroll, Qt::LeftButton, {}, QPoint(1, 1));
        QTest::mouseRelease(picture.picScroll, Qt::LeftButton, {}, QPoint(3, 3));
        picture.Cls();
        QCOMPARE(picture.X1, -1);
        QCOMPARE(picture.X2, -1);
        // The next press finds nothing to take away.
        const QImage clean = picture.Picture();
        QTest::mousePress(picture.picScroll, Qt::LeftButton, {}, QPoint(7, 7));
        QCOMPARE(picture.Picture(), clean);
    }

private:
    guitest::Environment env;
};

QTEST_MAIN(tst_uScrollPicture)
#include "tst_uScrollPicture.moc"
