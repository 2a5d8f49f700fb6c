#pragma once

#include <QStringList>

// The roots of the mounted file systems, "/" first, each once, each with a
// trailing "/": what the windows offer in place of drives.
QStringList MountPoints();
