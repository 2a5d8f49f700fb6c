#include "core/Paths.h"

#include <QFile>
#include <QStringList>
#include <sys/stat.h>

QString InputFileNameOf(const QString& inputPath)
{
    return inputPath.mid(inputPath.lastIndexOf(QLatin1Char('/')) + 1).trimmed();
}

QString ParentFolderPartOf(const QString& inputPath)
{
    if (!inputPath.contains(QLatin1Char('/')))
        return {};
    const QStringList pieces = inputPath.split(QLatin1Char('/'));
    const QString parent = QLatin1Char('/') + pieces[pieces.size() - 2].trimmed();
    return parent.contains(QLatin1Char(':')) ? QString() : parent;
}

// Compared by device and inode rather than by resolved path: resolving walks
// every folder of both paths, which a batch would pay for several times a
// file, and a hard link is the same file although its path is not.
bool IsSameFile(const QString& a, const QString& b)
{
    struct stat first { };
    struct stat second { };
    return ::stat(QFile::encodeName(a).constData(), &first) == 0
        && ::stat(QFile::encodeName(b).constData(), &second) == 0 && first.st_dev == second.st_dev
        && first.st_ino == second.st_ino;
}

namespace {

FileIdentity identityOf(const struct stat& info)
{
    return { static_cast<unsigned long long>(info.st_dev), static_cast<unsigned long long>(info.st_ino),
        static_cast<long long>(info.st_size),
        static_cast<long long>(info.st_mtim.tv_sec) * 1'000'000'000 + info.st_mtim.tv_nsec };
}

} // namespace

FileIdentity FileIdentityOf(const QString& path)
{
    struct stat info { };
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? identityOf(info) : FileIdentity {};
}

FileIdentity FileIdentityOf(int descriptor)
{
    struct stat info { };
    return ::fstat(descriptor, &info) == 0 ? identityOf(info) : FileIdentity {};
}
