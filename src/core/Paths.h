#pragma once

#include <QString>

// Input file name: the trimmed text after the last "/" of the path.
QString InputFileNameOf(const QString& inputPath);
// "/" + the name of the folder holding the file; empty for a drive's root.
QString ParentFolderPartOf(const QString& inputPath);
// Whether both paths name one existing file: the same file reached through
// links, or another spelling of the path, counts; a missing path never does.
bool IsSameFile(const QString& a, const QString& b);
