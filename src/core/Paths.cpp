#include "core/Paths.h"

#include <QStringList>

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
