#include "FileDialogs.h"

#include <QFileDialog>
#include <QStringList>

#include "base/cError.h"

namespace quillet {
namespace {

FileDialogOverride& Override() {
    static FileDialogOverride answer;
    return answer;
}

QString RunDialog(bool save, QWidget* Form1, const QString& Filter, const QString& Title, const QString& InitDir,
                  const QString& suffix = "mul") {
    const QString qtFilter = ConvertFilter(Filter);
    if (Override()) return Override()(save, qtFilter, Title, InitDir);
    QFileDialog dialog(Form1, Title, InitDir, qtFilter);
    if (save) {
        dialog.setAcceptMode(QFileDialog::AcceptSave);
        dialog.setFileMode(QFileDialog::AnyFile);
        dialog.setDefaultSuffix(suffix);
        dialog.setOption(QFileDialog::DontConfirmOverwrite, false);
    } else {
        dialog.setAcceptMode(QFileDialog::AcceptOpen);
        dialog.setFileMode(QFileDialog::ExistingFile);
    }
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return {};
    return dialog.selectedFiles().first();
}

}  // namespace

QString ConvertFilter(QString Filter) {
    if (!Filter.endsWith('|')) Filter += '|';
    const QStringList parts = Filter.split('|');
    QStringList entries;
    for (int i = 0; i + 1 < parts.size(); i += 2) {
        QString name = parts[i].trimmed();
        const QString pattern = parts[i + 1].trimmed();
        if (name.isEmpty() && pattern.isEmpty()) continue;
        // Qt reads the patterns from the parentheses of the name: the name's
        // own parenthesised text gives way to the real pattern.
        const qsizetype open = name.lastIndexOf('(');
        if (open >= 0 && name.endsWith(')')) name = name.left(open).trimmed();
        if (!pattern.isEmpty()) name += " (" + pattern.split(';').join(' ') + ')';
        entries << name;
    }
    return entries.join(";;");
}

QString OpenDialog(QWidget* Form1, const QString& Filter, const QString& Title, const QString& InitDir) {
    try {
        return RunDialog(false, Form1, Filter, Title, InitDir);
    } catch (...) {
        gError.Log(("cFileIO.OpenDialog('" + (Form1 ? Form1->objectName() : QString()) + "', '" + Filter + "', '" +
                    Title + "', '" + InitDir + "')")
                       .toStdString());
        return {};
    }
}

QString SaveDialog(QWidget* Form1, const QString& Filter, const QString& Title, const QString& InitDir, int SaveType) {
    try {
        return RunDialog(true, Form1, Filter, Title, InitDir);
    } catch (...) {
        gError.Log(("cFileIO.SaveDialog('" + (Form1 ? Form1->objectName() : QString()) + "', '" + Filter + "', '" +
                    Title + "', '" + InitDir + "', " + QString::number(SaveType) + ")")
                       .toStdString());
        return {};
    }
}

QString FolderDialog(QWidget* Form1, const QString& Title, const QString& InitDir) {
    if (Override()) return Override()(false, QString(), Title, InitDir);
    return QFileDialog::getExistingDirectory(Form1, Title, InitDir);
}

QString ExportDialog(QWidget* Form1, const QString& Filter, const QString& Title, const QString& DefaultPath,
                     const QString& DefaultSuffix) {
    try {
        return RunDialog(true, Form1, Filter, Title, DefaultPath, DefaultSuffix);
    } catch (...) {
        gError.Log(("cFileIO.ExportDialog('" + Title + "', '" + DefaultPath + "')").toStdString());
        return {};
    }
}

void SetFileDialogOverride(FileDialogOverride answer) { Override() = std::move(answer); }

}  // namespace quillet
