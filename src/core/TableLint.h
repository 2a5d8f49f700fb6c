#pragma once

#include <QString>

// Told about every table line that a loader leaves out or cannot use, and
// why. Loaders are handed it beside the configuration they load; a normal
// run has none, so its behaviour does not change.
class TableLint {
public:
    virtual ~TableLint() = default;
    // line counts from 1; 0 speaks of the file as a whole.
    virtual void note(const QString& file, qsizetype line, const QString& message) = 0;
};
