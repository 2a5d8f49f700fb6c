#pragma once

#include <QHash>
#include <cstdint>

// What the text-validity check carries from one file to the next: the
// number a signed-step row took from the first value of the last element it
// checked, by row. Never cleared between files; a batch side by side hands
// it on in batch order.
struct TextValidityState {
    QHash<const void*, std::int32_t> stepNumbers;
};
