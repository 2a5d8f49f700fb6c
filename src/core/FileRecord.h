#pragma once

#include "core/OpenTagNames.h"
#include "core/Paths.h"
#include "core/RuleFileState.h"
#include "core/TableCodes.h"
#include "core/ToolkitState.h"
#include "core/ValidationContext.h"

#include <QHash>
#include <QLatin1StringView>
#include <QList>
#include <QString>
#include <QStringView>
#include <cstdint>
#include <vector>

// Everything the engine keeps while it checks one file: the document, the
// scanner's records and stacks, and the rules' own file state. A run keeps
// one and the engine resets it for every file; a batch worker keeps its own.
// Only the open-tag list and the last tag contexts are handed on from one
// file of a batch to the next (see SeedCarriedTagState).
// What the declaration table says of one tag name: whether it declares the
// element at all, and the rows of a start tag of that name.
struct DeclaredRows {
    std::uint32_t askedInFile = 0; // the file the answer is for (FileRecord::declaredRowsFile)
    bool declared = false;
    const QList<int>* rows = nullptr; // null: no row is tagged with the name
};

struct FileRecord {
    // The file being checked, and the file its rules speak of: a file a
    // before-program made is checked in place of the one delivered.
    QString inputPath;
    QString deliveredPath;
    // The input as it was when it was read for validation: what is passed on
    // to the output folder must still be that file.
    FileIdentity inputIdentity;

    // The document being validated: the whole text, decoded once, and the
    // start offset of every line (lines are split at CR LF only).
    QString wholeText;
    std::vector<std::int32_t> lineStarts;
    int lineCount() const { return static_cast<int>(lineStarts.size()); }
    QStringView line(int index) const;

    ToolkitState toolkit; // the values every TagScanner view of this file shares

    // The scanner's records.
    ValidationContext context;
    ValidationContext previousTag;
    // The records of the tag before and of the last start tag are read by no
    // rule while the file is checked, only handed on when it ends: the driver
    // makes previousTag from the last tag's record, and previousStartTag from
    // where it noted that tag (lastStartTag), once per file.
    ValidationContext previousStartTag;
    struct StartTagPlace {
        qsizetype tagStart = -1; // in wholeText; -1 when no start tag was met since the record was made
        qsizetype tagLength = 0;
        std::int32_t lineIndex = 0;
        std::int32_t linePosition = 0;
        // The enclosing tag where it is a part of the document; -1 when it is
        // not (a tag carried from an earlier file, or none), and
        // enclosingOwn holds it.
        qsizetype enclosingStart = -1;
        qsizetype enclosingLength = 0;
        QString enclosingOwn;
    } lastStartTag;
    QList<ValidationContext> openTags; // oldest first; kept from one file to the next
    OpenTagNames openTagNames; // the numbers of openTags' names, and how many carry each
    QList<std::int32_t> rowStack { 0 }; // element 0 is the base entry
    std::int32_t currentRow = 0;
    // The declaration table's answer for each tag name met in this file, by
    // the number the toolkit gives the name; forgotten at the start of every
    // file, since the tables may be loaded anew between runs. Answers are
    // forgotten by counting files, not by clearing: the numbers go on
    // growing from file to file, and clearing would cost each file as much
    // as all the names met before it.
    std::vector<DeclaredRows> declaredRows;
    std::uint32_t declaredRowsFile = 1;
    // The element the running rules speak of: the declaration row's tag
    // (elementRow, a row of the table that lives through the run), or before
    // any row ran the file's first element name.
    QString contextElement;
    const QString* elementRow = nullptr;
    const QString& element() const { return elementRow ? *elementRow : contextElement; }
    // Whether the file met a tag: only then does it hand on the last one
    // (previousTag is made when the file ends).
    bool tagMet = false;
    // Upper-cased at loading; a view of the declaration table's text, set by
    // the dispatcher before every routine call.
    QStringView routineParameter;
    // The same parameter read as a severity at loading, for the routines
    // whose parameter is one.
    Severity parameterSeverity = Severity::Warning;
    // The routine or check running now; names its findings. A view of the
    // registry's name, so the dispatcher copies nothing per call.
    QLatin1StringView currentRoutine;
    RuleFileStates ruleStates; // per file; cleared with the other per-file state
    // The running routine's own file state and carried state, set by the
    // dispatcher; null for a routine whose entry names none.
    RuleFileState* ownFileState = nullptr;
    RuleRunState* ownRunState = nullptr;
};

inline QStringView FileRecord::line(int index) const
{
    const qsizetype start = lineStarts[index];
    const qsizetype end = index + 1 < lineCount() ? lineStarts[index + 1] - 2 : wholeText.size();
    return QStringView(wholeText).sliced(start, end - start);
}
