#pragma once

#include <QString>

// Input file name: the trimmed text after the last "/" of the path.
QString InputFileNameOf(const QString& inputPath);
// "/" + the name of the folder holding the file; empty for a drive's root.
QString ParentFolderPartOf(const QString& inputPath);
// Whether both paths name one existing file: the same file reached through
// links, or another spelling of the path, counts; a missing path never does.
bool IsSameFile(const QString& a, const QString& b);

// What tells one state of a file's bytes from another: the file itself
// (device and inode), its size and its modification time. Any write or
// replacement changes at least one of them; a change of owner or
// permissions does not count.
struct FileIdentity {
    unsigned long long device = 0;
    unsigned long long inode = 0;
    long long size = -1; // -1: no file was there
    long long modified = 0; // nanoseconds
    bool exists() const { return size >= 0; }
    bool operator==(const FileIdentity&) const = default;
};
FileIdentity FileIdentityOf(const QString& path);
FileIdentity FileIdentityOf(int descriptor);
