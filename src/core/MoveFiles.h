#pragma once

#include <QString>
#include <QStringList>
#include <cstdint>

class OperatorInterface;

// File staging and access checks (FolderServices). The checks show their own
// messages through the operator interface they are given.
namespace FolderServices {

enum PathKind : std::int16_t { File = 0, Folder = 1 };

// The folder with a trailing "/" (unchanged when it has one).
QString WithTrailingSlash(const QString& folder);
// What the operator is told about a configured path that does not exist.
QString PathNotFoundText(const QString& path);

// Kind File: a bare name (no "/") is completed in place with the application
// folder. Kind Folder: a missing folder is reported.
bool CheckPath(OperatorInterface& ui, const QString& applicationFolder, QString& path, std::int16_t kind);
bool CheckReadAccess(OperatorInterface& ui, const QString& folder);
// Completes the folder in place with a trailing "/".
bool CheckWriteAccess(OperatorInterface& ui, QString& folder);
QStringList ListFolder(const QString& folder, std::int16_t kind);
void RemoveFolderTree(OperatorInterface& ui, const QString& folder);
// One level only: an existing folder is success, a missing parent is failure.
// On failure, reason (when given) tells why in the operating system's words.
bool MakeFolder(const QString& path, QString* reason = nullptr);

} // namespace FolderServices
