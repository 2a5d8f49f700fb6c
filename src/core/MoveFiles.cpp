#include "core/MoveFiles.h"

#include "core/OperatorInterface.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <sys/stat.h>

namespace FolderServices {

QString WithTrailingSlash(const QString& folder)
{
    return folder.endsWith(QLatin1Char('/')) ? folder : folder + QLatin1Char('/');
}

QString PathNotFoundText(const QString& path)
{
    return path + QStringLiteral(" not found.\r\nPls. Check INI content.");
}

namespace {

bool isFolder(const QString& path)
{
    return QFileInfo(path).isDir();
}

// A symbolic link is never walked into: removing a tree must not reach
// through a link into a folder that lies elsewhere.
bool isRealFolder(const QFileInfo& info)
{
    return info.isDir() && !info.isSymLink();
}

// Opening the folder for listing is what fails when it cannot be read.
bool canList(const QString& folder)
{
    DIR* handle = ::opendir(QFile::encodeName(folder).constData());
    if (!handle)
        return false;
    ::closedir(handle);
    return true;
}

bool writeAndReadProbe(const QString& probePath)
{
    QFile probe(probePath);
    if (!probe.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    probe.close();
    const bool readable = probe.open(QIODevice::ReadOnly);
    probe.close();
    // Removed whatever happened on reading, so that no probe stays behind.
    const bool removed = probe.remove();
    return readable && removed;
}

void showMessage(OperatorInterface& ui, const QString& text, MessageIcon icon)
{
    ui.messageBox(text, kProgramTitle, icon);
}

} // namespace

bool CheckPath(OperatorInterface& ui, const QString& applicationFolder, QString& path, std::int16_t kind)
{
    if (kind == File) {
        if (!path.contains(QLatin1Char('/')))
            path = WithTrailingSlash(applicationFolder) + path;
        return QFileInfo(path).isFile();
    }
    if (isFolder(path))
        return true;
    showMessage(ui, PathNotFoundText(path), MessageIcon::Warning);
    return false;
}

bool CheckReadAccess(OperatorInterface& ui, const QString& folder)
{
    if (!isFolder(folder)) {
        showMessage(ui, folder + QStringLiteral(" not found."), MessageIcon::Critical);
        return false;
    }
    if (!canList(folder)) {
        showMessage(ui, QStringLiteral("No Read Access in ") + folder, MessageIcon::Critical);
        return false;
    }
    return true;
}

bool CheckWriteAccess(OperatorInterface& ui, QString& folder)
{
    if (!isFolder(folder)) {
        showMessage(ui, folder + QStringLiteral(" not found."), MessageIcon::Critical);
        return false;
    }
    folder = WithTrailingSlash(folder);
    // One probe name per process: runs that start together on one installation
    // would otherwise create, read and remove each other's probe.
    const QString probe = QStringLiteral("quillph16.%1.txt").arg(QCoreApplication::applicationPid());
    if (!writeAndReadProbe(folder + probe)) {
        // A folder that refuses writes stops the run as surely as a missing one.
        showMessage(ui, QStringLiteral("No Write Access in ") + folder, MessageIcon::Critical);
        return false;
    }
    return true;
}

QStringList ListFolder(const QString& folder, std::int16_t kind)
{
    QStringList names;
    QDirIterator entries(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    while (entries.hasNext()) {
        const QFileInfo info = entries.nextFileInfo();
        if (isRealFolder(info) == (kind == Folder))
            names.append(info.fileName());
    }
    return names;
}

void RemoveFolderTree(OperatorInterface& ui, const QString& folder)
{
    const QString base = WithTrailingSlash(folder);
    // Deleting an entry needs write access to the folder that holds it.
    QFile::setPermissions(
        folder, QFile::permissions(folder) | QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    for (const QString& name : ListFolder(folder, File)) {
        const QString path = base + name;
        // A link's permissions are those of its target, which is not ours to change.
        if (!QFileInfo(path).isSymLink())
            QFile::setPermissions(path, QFile::permissions(path) | QFile::WriteOwner);
        QFile::remove(path);
    }
    for (const QString& name : ListFolder(folder, Folder))
        RemoveFolderTree(ui, folder + QLatin1Char('/') + name);
    ui.processEvents();
    // Whatever could not be removed stays; callers do not look at the outcome.
    QDir().rmdir(folder);
}

bool MakeFolder(const QString& path, QString* reason)
{
    if (isFolder(path))
        return true;
    // Plain mkdir(2) rather than QDir: its errno is the reason a user needs.
    if (::mkdir(QFile::encodeName(path).constData(), 0777) == 0)
        return true;
    if (reason)
        *reason = QString::fromLocal8Bit(std::strerror(errno));
    return false;
}

} // namespace FolderServices
