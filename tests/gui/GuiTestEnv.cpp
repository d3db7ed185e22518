#include "GuiTestEnv.h"

#include <QAbstractButton>
#include <QAbstractScrollArea>
#include <QCheckBox>
#include <QRadioButton>
#include <QDir>
#include <QLabel>
#include <QPixmap>
#include <QPushButton>
#include <QStyle>
#include <QStyleOptionButton>
#include <QWidget>

#include <algorithm>

#include "base/cError.h"
#include "support/Services.h"
#include "core/mPatch.h"
#include "core/mWait.h"

namespace quillet::guitest {

Environment::Environment() {
    qputenv("XDG_CONFIG_HOME", dir_.filePath("config").toLocal8Bit());
    gError.LogFileOverride = dir_.filePath("test.log").toStdString();
    gFileIO.exepath = (dir_.path() + "/").toStdString();
    DataFileDirectory = dir_.path().toStdString();
}

Environment::~Environment() {
    gError.LogFileOverride.clear();
    DataFileDirectory.clear();
}

void Screenshot(QWidget* widget, const QString& name) {
    const QByteArray dir = qgetenv("QUILLET_SCREENSHOT_DIR");
    if (dir.isEmpty()) return;
    QDir().mkpath(QString::fromLocal8Bit(dir));
    widget->grab().save(QString::fromLocal8Bit(dir) + "/" + name + ".png");
}

namespace {

QString NameOf(const QWidget* widget) {
    const QString name = widget->objectName().isEmpty() ? widget->metaObject()->className() : widget->objectName();
    const QWidget* parent = widget->parentWidget();
    return parent && !widget->isWindow() ? NameOf(parent) + "/" + name : name;
}

// The room a control gives its text, and the text as it is drawn; an empty
// rectangle for controls that show no text of their own.
QRect TextRoom(QWidget* widget, QString& text, bool& wraps) {
    wraps = false;
    if (auto* label = qobject_cast<QLabel*>(widget)) {
        if (label->text().isEmpty() || label->textFormat() == Qt::RichText) return {};
        text = label->text();
        wraps = label->wordWrap();
        const int margin = label->margin();
        return label->contentsRect().adjusted(margin, margin, -margin, -margin);
    }
    auto* button = qobject_cast<QAbstractButton*>(widget);
    if (!button || button->text().isEmpty()) return {};
    text = button->text();
    text.remove('&');  // mnemonics are underlined, not drawn
    QStyleOptionButton option;
    option.initFrom(button);
    option.text = text;
    option.icon = button->icon();
    option.iconSize = button->iconSize();
    QStyle::SubElement contents = QStyle::SE_PushButtonContents;
    if (qobject_cast<QCheckBox*>(button) != nullptr)
        contents = QStyle::SE_CheckBoxContents;
    else if (qobject_cast<QRadioButton*>(button) != nullptr)
        contents = QStyle::SE_RadioButtonContents;
    else if (!qobject_cast<QPushButton*>(button))
        return {};
    return button->style()->subElementRect(contents, &option, button);
}

void CheckText(QWidget* widget, QStringList& faults) {
    QString text;
    bool wraps = false;
    const QRect room = TextRoom(widget, text, wraps);
    if (text.isEmpty()) return;
    const QFontMetrics metrics = widget->fontMetrics();
    QSize needed;
    if (wraps) {
        needed = metrics.boundingRect(QRect(0, 0, room.width(), 100000), Qt::TextWordWrap, text).size();
    } else {
        const QStringList lines = text.split('\n');
        for (const QString& line : lines) needed.setWidth(std::max(needed.width(), metrics.horizontalAdvance(line)));
        needed.setHeight(static_cast<int>(lines.size()) * metrics.height());
    }
    if (needed.width() > room.width() || needed.height() > room.height())
        faults << QString("%1: \"%2\" needs %3x%4, has %5x%6")
                      .arg(NameOf(widget), text.left(40))
                      .arg(needed.width())
                      .arg(needed.height())
                      .arg(room.width())
                      .arg(room.height());
}

void CheckChildren(QWidget* parent, const QWidget* top, QStringList& faults) {
    QList<QWidget*> shown;
    for (QObject* child : parent->children()) {
        auto* widget = qobject_cast<QWidget*>(child);
        if (widget && !widget->isWindow() && widget->isVisibleTo(top)) shown << widget;
    }
    // What a scroll area shows may be larger than its window onto it.
    const auto* area = qobject_cast<QAbstractScrollArea*>(parent->parentWidget());
    const bool scrolled = area && area->viewport() == parent;
    for (int i = 0; i < shown.size(); ++i) {
        QWidget* widget = shown[i];
        CheckText(widget, faults);
        if (!scrolled && !parent->rect().contains(widget->geometry()))
            faults << NameOf(widget) + " sticks out of its parent";
        for (int j = i + 1; j < shown.size(); ++j)
            if (widget->geometry().intersects(shown[j]->geometry()))
                faults << NameOf(widget) + " overlaps " + NameOf(shown[j]);
        CheckChildren(widget, top, faults);
    }
}

}  // namespace

QStringList LayoutFaults(QWidget* top) {
    QStringList faults;
    CheckText(top, faults);
    CheckChildren(top, top, faults);
    return faults;
}

}  // namespace quillet::guitest
