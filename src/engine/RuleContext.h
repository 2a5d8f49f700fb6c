#pragma once

#include "core/OpenTagNames.h"
#include "core/RuleFileState.h"
#include "core/SpellingEngine.h"
#include "core/TableCodes.h"
#include "core/TableSet.h"
#include "core/ToolkitState.h"
#include "core/ValidationContext.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringView>
#include <cstdint>
#include <exception>
#include <functional>
#include <vector>

// Where a routine's findings go. The engine passes them on to the run's
// reports and sinks; a routine never learns which.
class RuleFindings {
public:
    virtual ~RuleFindings() = default;
    // A finding at a one-based line; column is the column, or the extra value
    // a routine passes in its place.
    virtual void report(Severity severity, std::int64_t line, const QString& message, const QString& data,
        std::int32_t column)
        = 0;
    // A check that met a failure ends for this file and keeps what it wrote;
    // the run hears of it and cannot pass for checked.
    virtual void checkEnded(const std::exception& failure) = 0;
};

// What a routine sees while it checks one tag, and nothing else of the run:
// the tag and its place, the document, its own parameter, file state and
// carried state, the active settings and tables of the installation, where
// its images are kept, the run's clock, and where its findings go.
struct RuleContext {
    const ValidationContext& tag;
    const QList<ValidationContext>& openTags; // oldest first
    const OpenTagNames& openTagNames; // the numbers of their names (the toolkit's), and their count
    const QString& document; // the whole text being validated
    const QString& inputPath; // the file being validated, as it was delivered
    const std::vector<std::int32_t>& lineStarts; // zero-based offset of every line
    ToolkitState& toolkit; // the tag toolkit's view of this document
    SpellingState& spelling; // the installation's spelling engine with the run's answers
    QStringView parameter; // the declared parameter, upper-cased
    Severity parameterSeverity; // the same parameter read as a severity
    const QString& element; // the element its declaration row names
    const TableSet& settings; // the active table set: tables and rule settings
    // Where the installation keeps the images files refer to (IMAGEPATH and
    // IMAGEFOLDER): all of the configuration a rule reads beside its set.
    const QString& imagePath;
    const QString& imageFolder;
    RuleFileState* fileState; // null for a routine whose entry names no state
    RuleRunState* runState; // what it carries to the next file; null when its entry names none
    // The run's clock: a run that checks dates asks it when it needs the date,
    // and tests set it.
    const std::function<QDateTime()>& now;
    RuleFindings& findings;

    // The current line's text from the one-based position start to its end;
    // start 0 means from the current tag's "<".
    QString dataFrom(std::int32_t start) const;
    // A finding at the current tag: its line, its data and its column.
    void reportAtTag(Severity severity, const QString& message) const
    {
        findings.report(severity, tag.lineNumber, message, dataFrom(0), tag.linePosition);
    }
    template <typename State> State& ownState() const { return static_cast<State&>(*fileState); }
    template <typename State> State& ownRunState() const { return static_cast<State&>(*runState); }
    // Whether an element of that name is open around the current tag. The
    // scanner counts the open tags of each name beside the list, so a deep or
    // never-closed nesting is not walked for every tag.
    bool isOpen(const QString& name) const { return openTagNames.holds(toolkit.knownNameId(name)); }
    // The document's line of that zero-based index, without its CR LF.
    QStringView line(int index) const
    {
        const qsizetype start = lineStarts[index];
        const qsizetype end
            = index + 1 < qsizetype(lineStarts.size()) ? lineStarts[index + 1] - 2 : document.size();
        return QStringView(document).sliced(start, end - start);
    }
};
