#include "cWindow.h"

#include <QAction>
#include <QComboBox>
#include <QGuiApplication>
#include <QLineEdit>
#include <QScreen>
#include <QSettings>
#include <QSystemTrayIcon>
#include <QTextEdit>
#include <QWidget>
#include <QWindow>

#include <memory>

#include "base/AppInfo.h"
#include "base/Checked.h"
#include "base/cError.h"

namespace quillet {

cWindow gWindow;

namespace {

// The settings of one form: organisation and application are the
// application's title, the group is the form's name.
std::unique_ptr<QSettings> Store(QWidget* form) {
    auto settings = std::make_unique<QSettings>(kAppTitle, kAppTitle);
    settings->beginGroup(form->objectName());
    return settings;
}

// A stored value that is not a number is a failure of the procedure.
double Number(const QVariant& value) {
    bool ok = false;
    const double number = value.toString().toDouble(&ok);
    if (!ok) Fail("Type mismatch");
    return number;
}

QRect ScreenRect(QWidget* form) {
    QScreen* screen = form->screen() ? form->screen() : QGuiApplication::primaryScreen();
    return screen ? screen->geometry() : QRect(0, 0, 1024, 768);
}

int StateNumber(Qt::WindowStates state) {
    if (state & Qt::WindowMinimized) return 1;
    if (state & Qt::WindowMaximized) return 2;
    return 0;
}

Qt::WindowStates StateFromNumber(int number) {
    if (number == 1) return Qt::WindowMinimized;
    if (number == 2) return Qt::WindowMaximized;
    return Qt::WindowNoState;
}

}  // namespace

void cWindow::wSave(QWidget* oForm) {
    try {
        auto store = Store(oForm);
        QSettings& settings = *store;
        settings.setValue("Windowstatus", QString::number(StateNumber(oForm->windowState())));
        // The place of the normal window, also when it is maximised or minimised.
        // Left and top are the frame's, as move() takes them back; width and
        // height the client area's, as resize() takes them.
        const bool normalState = !(oForm->isMaximized() || oForm->isMinimized());
        const QRect normal = normalState ? oForm->geometry() : oForm->normalGeometry();
        const QPoint frameOffset = oForm->geometry().topLeft() - oForm->pos();
        const QPoint place = normalState ? oForm->pos() : normal.topLeft() - frameOffset;
        settings.setValue("Left", QString::number(place.x() * kTwipsPerPixel));
        settings.setValue("Top", QString::number(place.y() * kTwipsPerPixel));
        settings.setValue("Width", QString::number(normal.width() * kTwipsPerPixel));
        settings.setValue("Height", QString::number(normal.height() * kTwipsPerPixel));
    } catch (...) {
        gError.Log("cWindow.wSave");
    }
}

void cWindow::wLoad(QWidget* oForm, bool Resize) {
    try {
        auto store = Store(oForm);
        QSettings& settings = *store;
        const double left = Number(settings.value("Left", "-1"));
        if (left == -1) return;  // never saved: the drawn position and size
        const QRect screen = ScreenRect(oForm);
        int x = static_cast<int>(left) / kTwipsPerPixel;
        int y = static_cast<int>(Number(settings.value("Top"))) / kTwipsPerPixel;
        if (x > screen.width()) x = 0;
        if (x < 0) x = 0;
        if (y > screen.height()) y = 0;
        if (y < 0) y = 0;
        oForm->move(x, y);
        if (Resize) {
            const int defaultWidth = 600, defaultHeight = 400;
            int width = static_cast<int>(Number(settings.value("Width", QString::number(defaultWidth * kTwipsPerPixel)))) /
                        kTwipsPerPixel;
            int height = static_cast<int>(
                             Number(settings.value("Height", QString::number(defaultHeight * kTwipsPerPixel)))) /
                         kTwipsPerPixel;
            // Below 10 twips, a window is nothing to be seen: take the default.
            if (height * kTwipsPerPixel < 10) height = defaultHeight;
            if (width * kTwipsPerPixel < 10) width = defaultWidth;
            oForm->resize(width, height);
        }
        oForm->setWindowState(StateFromNumber(static_cast<int>(Number(settings.value("Windowstatus", "0")))));
    } catch (...) {
        gError.Log("cWindow.wLoad");
    }
}

void cWindow::SaveControls(QWidget* myForm) {
    auto store = Store(myForm);
    QSettings& settings = *store;
    for (QLineEdit* edit : myForm->findChildren<QLineEdit*>())
        if (!edit->objectName().isEmpty()) settings.setValue(edit->objectName(), edit->text());
    for (QComboBox* combo : myForm->findChildren<QComboBox*>())
        if (!combo->objectName().isEmpty()) settings.setValue(combo->objectName(), QString::number(combo->currentIndex()));
}

void cWindow::LoadControls(QWidget* myForm) {
    auto store = Store(myForm);
    QSettings& settings = *store;
    for (QLineEdit* edit : myForm->findChildren<QLineEdit*>()) {
        const QString value = settings.value(edit->objectName(), "-123").toString();
        if (value != "-123") edit->setText(value);
    }
    for (QComboBox* combo : myForm->findChildren<QComboBox*>()) {
        const QString value = settings.value(combo->objectName(), "-123").toString();
        if (value != "-123") combo->setCurrentIndex(value.toInt());
    }
}

void cWindow::MakeTopmost(QWidget* myForm) {
    myForm->setWindowFlag(Qt::WindowStaysOnTopHint, true);
    myForm->show();
}

void cWindow::Disable(QWidget* myFrom) {
    for (QWidget* control : myFrom->findChildren<QWidget*>()) control->setEnabled(false);
    for (QAction* action : myFrom->findChildren<QAction*>()) action->setEnabled(false);
}

void cWindow::Enable(QWidget* myFrom) {
    for (QWidget* control : myFrom->findChildren<QWidget*>()) control->setEnabled(true);
    for (QAction* action : myFrom->findChildren<QAction*>()) action->setEnabled(true);
}

void cWindow::Move(QWidget* sForm) {
    if (QWindow* window = sForm->windowHandle()) window->startSystemMove();
}

void cWindow::SetAPICaption(QWidget* myForm, const QString& Caption) { myForm->setWindowTitle(Caption); }

void cWindow::CreateToolboxIcon(QWidget* Form1, const QString& ToolTip) {
    auto* icon = Form1->findChild<QSystemTrayIcon*>("ToolboxIcon", Qt::FindDirectChildrenOnly);
    if (!icon) {
        icon = new QSystemTrayIcon(Form1->windowIcon(), Form1);
        icon->setObjectName("ToolboxIcon");
    }
    icon->setToolTip(ToolTip);
    icon->show();
}

void cWindow::DeleteToolboxIcon(QWidget* Form1) {
    delete Form1->findChild<QSystemTrayIcon*>("ToolboxIcon", Qt::FindDirectChildrenOnly);
}

}  // namespace quillet
