// The Compare dialog's whole-client mode: the mode buttons switch the
// fields, the folders list the types found in both, and only the checked
// types are compared, with what each gave told in one message.
#include <QDir>
#include <QListWidget>
#include <QRadioButton>
#include <QtTest>

#include "GuiTestEnv.h"
#include "frmCompare.h"
#include "frmStart.h"
#include "mMenu.h"
#include "actions/mStart.h"
#include "core/mPatch.h"

using namespace quillet;

namespace {

// count blocks of size bytes, each filled with its number; block `changed` with 0xEE.
QByteArray Blocks(int size, int count, int changed = -1) {
    QByteArray bytes;
    for (int n = 0; n < count; ++n) bytes += QByteArray(size, static_cast<char>(n == changed ? 0xEE : n));
    return bytes;
}

QStringList ListTexts(const QListWidget* list, bool checkedOnly = false) {
    QStringList texts;
    for (int row = 0; row < list->count(); ++row)
        if (!checkedOnly || list->item(row)->checkState() == Qt::Checked) texts << list->item(row)->text();
    return texts;
}

}  // namespace

class tst_compare : public QObject {
    Q_OBJECT

    guitest::Environment env;
    std::vector<QString> waits;

private Q_SLOTS:
    void initTestCase() {
        frmStart::Instance().show();
        PatchNew();
        MenuRefresh();
        env.CaptureMessages();
        guitest::Environment::OnWaitStart([this](const std::string& text) { waits.push_back(QString::fromStdString(text)); });
        // Two clients with a map and hues; the new one differs in Map block 2
        // and Hues group 1; only the base one has radar colours.
        QVERIFY(QDir().mkpath(env.Path("base")) && QDir().mkpath(env.Path("new")));
        QVERIFY(guitest::WriteAll(env.Path("base/map0.mul"), Blocks(196, 8)));
        QVERIFY(guitest::WriteAll(env.Path("new/MAP0.MUL"), Blocks(196, 8, 2)));
        QVERIFY(guitest::WriteAll(env.Path("base/hues.mul"), Blocks(708, 375)));
        QVERIFY(guitest::WriteAll(env.Path("new/hues.mul"), Blocks(708, 375, 1)));
        QVERIFY(guitest::WriteAll(env.Path("base/radarcol.mul"), Blocks(2, 16)));
    }

    void modesSwitchTheFields() {
        frmCompare dialog(&frmStart::Instance());
        dialog.show();
        QVERIFY(dialog.optOneType->isChecked() && dialog.fraOneType->isVisible() && !dialog.fraClient->isVisible());
        const int oneTypeHeight = dialog.height();
        dialog.optWholeClient->click();
        QVERIFY(!dialog.fraOneType->isVisible() && dialog.fraClient->isVisible());
        QVERIFY(dialog.height() >= oneTypeHeight);
        QCoreApplication::processEvents();
        QVERIFY2(guitest::LayoutFaults(&dialog).isEmpty(), qPrintable(guitest::LayoutFaults(&dialog).join("\n")));
        dialog.optOneType->click();
        QVERIFY(dialog.fraOneType->isVisible() && !dialog.fraClient->isVisible());
        QCOMPARE(dialog.height(), oneTypeHeight);
    }

    void checkedTypesAreCompared() {
        frmCompare dialog(&frmStart::Instance());
        dialog.show();
        dialog.optWholeClient->click();
        dialog.txtDir1->setText(env.Path("base"));
        QVERIFY(ListTexts(dialog.lstTypes).isEmpty());  // one folder alone lists nothing
        dialog.txtDir2->setText(env.Path("new"));
        QCOMPARE(ListTexts(dialog.lstTypes), QStringList({"Map (0)", "Hues (32)"}));
        QCOMPARE(ListTexts(dialog.lstTypes, true), ListTexts(dialog.lstTypes));
        QVERIFY(dialog.lblSkipped->text().startsWith("Not in both clients: Statics, Art"));
        QVERIFY(dialog.lblSkipped->text().endsWith("Light, Radarcol"));
        guitest::Screenshot(&dialog, "frmCompare-client");

        dialog.lstTypes->item(0)->setCheckState(Qt::Unchecked);
        waits.clear();
        env.messages.clear();
        QTest::mouseClick(dialog.cmdCompare, Qt::LeftButton);
        QVERIFY(dialog.Unloaded());
        QCOMPARE(waits.front(), QString("Comparing Hues (1 of 1). Please wait."));
        QCOMPARE(PatchBlocks[32].Count, 1);
        QCOMPARE(PatchBlocks[32].Blocks[1].Size, 1220);
        QCOMPARE(PatchBlocks[0].Count, 0);
        QCOMPARE(QString::fromStdString(env.messages.empty() ? "" : env.messages.back()),
                 QString("Hues: 375 blocks compared, 1 added\r\n"));
    }

    void nothingToCompareDoesNothing() {
        frmCompare dialog(&frmStart::Instance());
        dialog.show();
        dialog.optWholeClient->click();
        dialog.txtDir1->setText(env.Path("base"));
        dialog.txtDir2->setText(env.Path("none"));
        waits.clear();
        QTest::mouseClick(dialog.cmdCompare, Qt::LeftButton);
        dialog.txtDir2->setText(env.Path("new"));
        for (int row = 0; row < dialog.lstTypes->count(); ++row) dialog.lstTypes->item(row)->setCheckState(Qt::Unchecked);
        QTest::mouseClick(dialog.cmdCompare, Qt::LeftButton);
        QVERIFY(!dialog.Unloaded() && dialog.isVisible() && waits.empty());
    }
};

QTEST_MAIN(tst_compare)
#include "tst_compare.moc"
