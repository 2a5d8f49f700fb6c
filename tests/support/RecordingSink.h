#pragma once

#include "core/Finding.h"

#include <QList>
#include <QStringList>

// Keeps every finding of a run, in order.
class RecordingSink : public FindingSink {
public:
    void onFinding(const Finding& finding) override { findings.append(finding); }

    // One "line:column K message | data" string per finding (K is E or W),
    // with the message and data whole, as the rule gave them.
    QStringList entries() const
    {
        QStringList lines;
        for (const Finding& f : findings) {
            lines << QStringLiteral("%1:%2 %3 %4 | %5")
                         .arg(f.line)
                         .arg(f.column)
                         .arg(f.kind == FindingKind::Error ? QStringLiteral("E") : QStringLiteral("W"),
                             f.message, f.data);
        }
        return lines;
    }

    QList<Finding> findings;
};
