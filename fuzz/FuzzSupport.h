#pragma once

#include "core/OperatorInterface.h"

#include <QByteArray>
#include <QString>
#include <cstddef>
#include <cstdint>

inline QByteArray FuzzBytes(const std::uint8_t* data, std::size_t size)
{
    return QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
}

// Fails the run loudly when the fast code and its plain reading disagree.
#define FUZZ_EXPECT(condition)                                                                               \
    do {                                                                                                     \
        if (!(condition))                                                                                    \
            __builtin_trap();                                                                                \
    } while (false)
