#pragma once

#include <QString>
#include <QStringView>
#include <vector>

// An input file as a reader of its findings needs it: decoded the way a run
// decodes it, split into the lines that findings count, and described (its
// encoding and line ends) as it lies on disk.
struct SourceText {
    QString text; // LF-only line ends read as CR LF, as validated
    std::vector<qsizetype> lineStarts; // the offset of every line; line 1 first
    qsizetype longestLine = 0;
    QString encoding; // "UTF-8", "Windows-1252", "UTF-16 LE", ...
    QString lineEnds; // "CR LF", "LF", "CR LF and LF", "none", ...
    QString error; // not empty when the file could not be read

    qsizetype lineCount() const { return qsizetype(lineStarts.size()); }
    // A line without its line end; index 0 is line 1.
    QStringView line(qsizetype index) const;
};

// Reads the whole file; safe to call off the window's thread.
SourceText LoadSourceText(const QString& path, bool utf8Input);
