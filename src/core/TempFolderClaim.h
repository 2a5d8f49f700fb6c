#pragma once

#include <QLockFile>
#include <QString>
#include <memory>

// A run's hold on the configured temporary folder: the lock that keeps other
// runs sharing it waiting, and the working subfolder the run made there for
// its staged inputs. The configured TEMPPATH itself never changes; what the
// run uses is here.
struct TempFolderClaim {
    // Held while the run uses the folder; released when the run (or the
    // window's batch) ends.
    std::unique_ptr<QLockFile> lock;
    // TEMPPATH + "Quorvane_Temp/" once made; empty before, and again when the
    // run must leave the subfolder in place (an input of the run lies in it).
    QString workingFolder;

    bool held() const { return lock != nullptr && !workingFolder.isEmpty(); }
};
