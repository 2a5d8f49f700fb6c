#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <vector>

enum class FindingKind { Error, Warning };

// How much of a finding's data any report can show anything of: the 250
// characters an entry keeps, and two more for a CR LF cut in half at the
// end. Data cut to this length gives the same entries as the whole text, so
// a rule need not copy more of a long line.
constexpr qsizetype kFindingDataLength = 252;

// One thing a check found, as a value: the report writer lays it out in the
// fixed report formats, and any other output subscribes to the same values.
struct Finding {
    FindingKind kind = FindingKind::Warning;
    std::int64_t line = 0;
    std::int32_t column = 0; // or the extra value a routine passes in its place
    QString message;
    QString data;
    QString routine; // the routine or whole-file check that reported it
    bool operator==(const Finding&) const = default;
};

// Anything that wants the findings of a run besides the fixed reports.
// The events of one run come in this order: onRunStarted; per input file
// onFileStarted, the file's findings, onFileFailed when it failed,
// onFileEnded; then onRunEnded. A sink
// receives a file's findings together, between that file's own start and
// end: whoever validates files side by side hands each file's findings on as
// one block, so a sink never has to sort them out. A finding outside any file
// (a check after the last file) comes between files.
class FindingSink {
public:
    virtual ~FindingSink() = default;
    virtual void onRunStarted(const QString& taskCode, const QDateTime& startTime) { }
    virtual void onFileStarted(const QString& inputPath) { }
    virtual void onFinding(const Finding& finding) = 0;
    // Before onFileEnded of a file whose check did not finish or whose
    // outputs could not be written: why, one reason each. Its findings are
    // no account of the whole file.
    virtual void onFileFailed(const QStringList& reasons) { }
    virtual void onFileEnded() { }
    // completed is false when the run ended on a failure: what it found so
    // far is no account of the inputs.
    virtual void onRunEnded(const QDateTime& endTime, bool completed) { }
};

// Where the engine hands every finding of a rule: in a run, the run itself,
// which passes it on to every sink of the run, the fixed reports among them,
// and counts a check that ended early against the run. The engine writes to
// no report of its own.
class FindingReceiver {
public:
    virtual ~FindingReceiver() = default;
    // A finding of the file being checked.
    virtual void fileFinding(const Finding& finding) = 0;
    // A finding of the whole run, judged after its last file.
    virtual void runFinding(const Finding& finding) = 0;
    // The routine's check of this file ended early on a failure (reason):
    // the file's reports say so and the run cannot pass for checked.
    virtual void checkEnded(const QString& routine, const QString& reason) = 0;
};

// The sinks of a run, in subscription order. They are not owned: a sink lives
// at least as long as the runs it watches.
class FindingSinks {
public:
    void subscribe(FindingSink& sink) { sinks_.push_back(&sink); }
    // A sink that hears every event before the sinks already subscribed.
    void subscribeFirst(FindingSink& sink) { sinks_.insert(sinks_.begin(), &sink); }
    void unsubscribe(FindingSink& sink) { std::erase(sinks_, &sink); }
    bool empty() const { return sinks_.empty(); }
    void publish(const Finding& finding) const
    {
        for (FindingSink* sink : sinks_)
            sink->onFinding(finding);
    }
    void runStarted(const QString& taskCode, const QDateTime& startTime) const
    {
        for (FindingSink* sink : sinks_)
            sink->onRunStarted(taskCode, startTime);
    }
    void fileStarted(const QString& inputPath) const
    {
        for (FindingSink* sink : sinks_)
            sink->onFileStarted(inputPath);
    }
    void fileFailed(const QStringList& reasons) const
    {
        for (FindingSink* sink : sinks_)
            sink->onFileFailed(reasons);
    }
    void fileEnded() const
    {
        for (FindingSink* sink : sinks_)
            sink->onFileEnded();
    }
    void runEnded(const QDateTime& endTime, bool completed) const
    {
        for (FindingSink* sink : sinks_)
            sink->onRunEnded(endTime, completed);
    }

private:
    std::vector<FindingSink*> sinks_;
};
