#include "GuiTestEnv.h"

#include <QDir>
#include <QPixmap>
#include <QWidget>

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

}  // namespace quillet::guitest
