#pragma once

#include <QString>
#include <QStringList>
#include <cstdint>

class OperatorInterface;
struct RunState;

// File staging and access checks (FolderServices). The checks show their own
// messages through the run's operator interface.
namespace FolderServices {

enum PathKind : std::int16_t { File = 0, Folder = 1 };

// The folder with a trailing "/" (unchanged when it has one).
QString WithTrailingSlash(const QString& folder);
// What the operator is told about a configured path that does not exist.
QString PathNotFoundText(const QString& path);

// Kind File: a bare name (no "/") is completed in place with the application
// folder. Kind Folder: a missing folder is reported.
bool CheckPath(RunState& state, QString& path, std::int16_t kind);
bool CheckReadAccess(RunState& state, const QString& folder);
// Completes the folder in place with a trailing "/".
bool CheckWriteAccess(RunState& state, QString& folder);
QStringList ListFolder(const QString& folder, std::int16_t kind);
void RemoveFolderTree(OperatorInterface& ui, const QString& folder);
// One level only: an existing folder is success, a missing parent is failure.
// On failure, reason (when given) tells why in the operating system's words.
bool MakeFolder(const QString& path, QString* reason = nullptr);

} // namespace FolderServices
