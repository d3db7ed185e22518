// Window places kept between runs, and all controls off and on.
#include <QAction>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QTimer>
#include <QtTest>

#include "GuiTestEnv.h"
#include "cWindow.h"
#include "base/AppInfo.h"

using namespace quillet;

class tst_cWindow : public QObject {
    Q_OBJECT

    static void Store(const QString& form, const QString& key, const QString& value) {
        QSettings settings(kAppTitle, kAppTitle);
        settings.setValue(form + "/" + key, value);
    }

private Q_SLOTS:
    void firstRunKeepsTheDrawnPlace() {
        QWidget form;
        form.setObjectName("frmFresh");
        form.setGeometry(30, 40, 300, 200);
        gWindow.wLoad(&form, true);
        QCOMPARE(form.geometry(), QRect(30, 40, 300, 200));
    }

    void savedPlaceComesBackInTwips() {
        QWidget form;
        form.setObjectName("frmPlace");
        form.setGeometry(20, 30, 400, 300);
        gWindow.wSave(&form);
        QSettings settings(kAppTitle, kAppTitle);
        QCOMPARE(settings.value("frmPlace/Left").toString(), QString("300"));
        QCOMPARE(settings.value("frmPlace/Width").toString(), QString("6000"));
        QCOMPARE(settings.value("frmPlace/Windowstatus").toString(), QString("0"));

        QWidget again;
        again.setObjectName("frmPlace");
        again.setGeometry(0, 0, 100, 100);
        gWindow.wLoad(&again, true);
        QCOMPARE(again.geometry(), QRect(20, 30, 400, 300));

        // Without resizing, only the place is taken.
        QWidget dialog;
        dialog.setObjectName("frmPlace");
        dialog.setGeometry(0, 0, 100, 100);
        gWindow.wLoad(&dialog, false);
        QCOMPARE(dialog.geometry(), QRect(20, 30, 100, 100));
    }

    void maximisedWindowKeepsItsNormalSize() {
        QWidget form;
        form.setObjectName("frmMax");
        form.setGeometry(10, 10, 320, 240);
        form.show();
        form.showMaximized();
        QTRY_VERIFY(form.isMaximized());
        gWindow.wSave(&form);
        QSettings settings(kAppTitle, kAppTitle);
        QCOMPARE(settings.value("frmMax/Windowstatus").toString(), QString("2"));
        QCOMPARE(settings.value("frmMax/Width").toString(), QString::number(320 * 15));

        QWidget again;
        again.setObjectName("frmMax");
        gWindow.wLoad(&again, true);
        QVERIFY(again.windowState() & Qt::WindowMaximized);
    }

    void placesOffTheScreenAndOddValues() {
        Store("frmFar", "Left", "99999999");
        Store("frmFar", "Top", "-300");
        Store("frmFar", "Width", "6000");
        Store("frmFar", "Height", "5");
        Store("frmFar", "Windowstatus", "0");
        QWidget form;
        form.setObjectName("frmFar");
        gWindow.wLoad(&form, true);
        QCOMPARE(form.pos(), QPoint(0, 0));
        QCOMPARE(form.size(), QSize(400, 400));  // a height of 5 twips: the default

        Store("frmNever", "Left", "-1");
        Store("frmNever", "Top", "3000");
        QWidget never;
        never.setObjectName("frmNever");
        never.setGeometry(50, 60, 200, 100);
        gWindow.wLoad(&never, true);
        QCOMPARE(never.geometry(), QRect(50, 60, 200, 100));
    }

    void notANumberIsLogged() {
        Store("frmBad", "Left", "left of here");
        QWidget form;
        form.setObjectName("frmBad");
        form.setGeometry(5, 6, 70, 80);
        gWindow.wLoad(&form, true);
        QCOMPARE(form.geometry(), QRect(5, 6, 70, 80));
        QFile log(env.Path("test.log"));
        QVERIFY(log.open(QIODevice::ReadOnly));
        QVERIFY(log.readAll().contains("cWindow.wLoad: Type mismatch"));
    }

    void disableAndEnableReachEveryControl() {
        QWidget form;
        auto* edit = new QLineEdit(&form);
        auto* button = new QPushButton(&form);
        auto* action = new QAction(&form);
        auto* timer = new QTimer(&form);  // no Enabled of its own: passed over
        Q_UNUSED(timer);
        gWindow.Disable(&form);
        QVERIFY(!edit->isEnabled());
        QVERIFY(!button->isEnabled());
        QVERIFY(!action->isEnabled());
        gWindow.Enable(&form);
        QVERIFY(edit->isEnabled());
        QVERIFY(button->isEnabled());
        QVERIFY(action->isEnabled());
    }

    void controlsKeepTheirValues() {
        QWidget form;
        form.setObjectName("frmControls");
        auto* edit = new QLineEdit("12abc", &form);
        edit->setObjectName("txtBlockFrom");
        gWindow.SaveControls(&form);
        edit->setText("changed");
        gWindow.LoadControls(&form);
        QCOMPARE(edit->text(), QString("12abc"));
    }

private:
    guitest::Environment env;
};

QTEST_MAIN(tst_cWindow)
#include "tst_cWindow.moc"
