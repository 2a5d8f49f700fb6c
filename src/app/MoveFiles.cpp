#include "app/MoveFiles.h"

#include "app/RunState.h"

// Placeholder bodies until file staging lands.
namespace modMoveFiles {
bool CheckPath(RunState&, QString&, std::int16_t) { return false; }
bool CheckReadAccess(RunState&, const QString&) { return false; }
bool CheckWriteAccess(RunState&, QString&) { return false; }
QStringList ListFolder(const QString&, std::int16_t) { return {}; }
void RemoveFolderTree(RunState&, const QString&) {}
bool MakeFolder(const QString&) { return false; }
} // namespace modMoveFiles
