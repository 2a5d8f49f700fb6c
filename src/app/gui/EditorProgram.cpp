#include "app/gui/EditorProgram.h"

#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

namespace {

QString findProgram(const QString& program, const QString& applicationFolder)
{
    if (program.contains(QLatin1Char('/')))
        return QFileInfo(program).isExecutable() ? program : QString();
    const QFileInfo beside(applicationFolder + program);
    if (!applicationFolder.isEmpty() && beside.isFile() && beside.isExecutable())
        return beside.filePath();
    return QStandardPaths::findExecutable(program);
}

} // namespace

EditorCommand EditorCommandFor(
    const QString& setting, const QString& applicationFolder, const QString& file, qint64 line, int column)
{
    EditorCommand command;
    QStringList words = QProcess::splitCommand(setting);
    if (words.isEmpty()) {
        command.error = QStringLiteral("no EDITORPROGRAM is set in Quorvane.INI");
        return command;
    }
    const QString named = words.takeFirst();
    command.program = findProgram(named, applicationFolder);
    if (command.program.isEmpty()) {
        command.error
            = QStringLiteral("the EDITORPROGRAM \"%1\" is neither in %2 nor on the PATH")
                  .arg(named, applicationFolder.isEmpty() ? QStringLiteral(".") : applicationFolder);
        return command;
    }
    bool placed = false;
    for (QString& word : words) {
        const std::pair<QString, QString> marks[]
            = { { QStringLiteral("{file}"), file }, { QStringLiteral("{line}"), QString::number(line) },
                  { QStringLiteral("{column}"), QString::number(std::max(column, 1)) } };
        for (const auto& [mark, value] : marks) {
            if (word.contains(mark)) {
                word.replace(mark, value);
                placed = true;
            }
        }
    }
    if (!placed)
        words << QStringLiteral("+%1").arg(std::max<qint64>(line, 1)) << file;
    command.arguments = words;
    return command;
}

QString StartEditor(
    const QString& setting, const QString& applicationFolder, const QString& file, qint64 line, int column)
{
    const EditorCommand command = EditorCommandFor(setting, applicationFolder, file, line, column);
    if (!command.error.isEmpty())
        return command.error;
    if (!QProcess::startDetached(command.program, command.arguments))
        return QStringLiteral("%1 could not be started").arg(command.program);
    return {};
}
