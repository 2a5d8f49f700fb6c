#pragma once

#include <QHash>
#include <QSet>
#include <QString>
#include <cstdint>
#include <vector>

// What the text-validity check keeps between its calls.
struct TextValidityState {
    // Per file: whether each row's whole-file condition occurs in the text,
    // found once per row (-1 not asked yet, 0 no, 1 yes). The rows are those
    // of conditionTable, the table of the file's active set.
    const void* conditionTable = nullptr;
    std::vector<std::int8_t> conditionHolds;

    // Per run: the number a signed-step row took from the first value of the
    // last element it checked, by row. Never cleared between files.
    QHash<const void*, std::int32_t> stepNumbers;

    // Per file: the failures already told, so that a failing row is told once.
    QSet<QString> notedFailures;

    void resetPerFile()
    {
        conditionTable = nullptr;
        conditionHolds.clear();
        notedFailures.clear();
    }
};
