#include "app/gui/MountPoints.h"

#include "core/MoveFiles.h"

#include <QFileInfo>
#include <QStorageInfo>

QStringList MountPoints()
{
    QStringList roots;
    for (const QStorageInfo& volume : QStorageInfo::mountedVolumes()) {
        const QString root = FolderServices::WithTrailingSlash(volume.rootPath());
        // Containers mount single files too (/etc/hosts); only folders are drives.
        if (volume.isValid() && volume.isReady() && QFileInfo(root).isDir() && !roots.contains(root))
            roots.append(root);
    }
    roots.removeAll(QStringLiteral("/"));
    roots.sort();
    roots.prepend(QStringLiteral("/"));
    return roots;
}
