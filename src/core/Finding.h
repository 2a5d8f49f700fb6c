#pragma once

#include <QString>
#include <cstdint>
#include <vector>

enum class FindingKind { Error, Warning };

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
class FindingSink {
public:
    virtual ~FindingSink() = default;
    virtual void onFinding(const Finding& finding) = 0;
};

// The sinks of a run, in subscription order. They are not owned: a sink lives
// at least as long as the runs it watches.
class FindingSinks {
public:
    void subscribe(FindingSink& sink) { sinks_.push_back(&sink); }
    void unsubscribe(FindingSink& sink) { std::erase(sinks_, &sink); }
    bool empty() const { return sinks_.empty(); }
    void publish(const Finding& finding) const
    {
        for (FindingSink* sink : sinks_)
            sink->onFinding(finding);
    }

private:
    std::vector<FindingSink*> sinks_;
};
