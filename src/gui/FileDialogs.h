#pragma once
// The file dialogs of cFileIO. The answer is the chosen path without any
// closing character, or empty when the user cancels; callers use it as is.
#include <QString>

#include <functional>

class QWidget;

namespace quillet {

// "MUO Patchfile (*.muo) |*.muo" -> "MUO Patchfile (*.muo)": the bar-separated
// name/pattern list becomes Qt's filter list, one entry per line.
QString ConvertFilter(QString Filter);

// The open dialog's filter for a client's file: MUL files first, the UOP
// containers of current clients beside them.
inline const QString kMulOrContainerFilter = QStringLiteral("Mul file (*.mul) |*.mul|UOP container (*.uop)|*.uop");

QString OpenDialog(QWidget* Form1, const QString& Filter, const QString& Title, const QString& InitDir);
// A name typed without an extension gets ".mul", as every save dialog did.
QString SaveDialog(QWidget* Form1, const QString& Filter, const QString& Title, const QString& InitDir,
                   int SaveType = 0);

// A folder to choose (a client's directory); the override is asked with an
// empty filter.
QString FolderDialog(QWidget* Form1, const QString& Title, const QString& InitDir);

// A save dialog that proposes a file: DefaultPath gives its folder and name
// (the test override gets it as the folder), and a name typed without an
// extension gets DefaultSuffix.
QString ExportDialog(QWidget* Form1, const QString& Filter, const QString& Title, const QString& DefaultPath,
                     const QString& DefaultSuffix);

// Tests answer the dialogs themselves: (save?, filter, title, dir) -> path.
using FileDialogOverride = std::function<QString(bool save, const QString& filter, const QString& title,
                                                 const QString& dir)>;
void SetFileDialogOverride(FileDialogOverride answer);

}  // namespace quillet
