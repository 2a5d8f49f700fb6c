#pragma once

#include <QString>
#include <QStringList>

// How the configured EDITORPROGRAM opens an input at a finding.
struct EditorCommand {
    QString program; // empty when the setting names no program that can be found
    QStringList arguments;
    QString error; // why there is no program
};

// The setting is a command: a program, then any arguments. Its arguments may
// say where the file, line and column go ("{file}", "{line}", "{column}");
// without any of them the program gets "+LINE FILE", which vi, Emacs, nano,
// gedit and most editors take as "open FILE at LINE". A bare program name is
// looked for in the application folder, then on the PATH.
EditorCommand EditorCommandFor(
    const QString& setting, const QString& applicationFolder, const QString& file, qint64 line, int column);

// Starts the editor on its own: closing the viewer leaves it open. Returns an
// empty text when it started, else why not.
QString StartEditor(
    const QString& setting, const QString& applicationFolder, const QString& file, qint64 line, int column);
