#pragma once

#include <QStringView>
#include <algorithm>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// The first place at or after `from` where either of two code units stands,
// -1 where neither does. A walk that stops at two kinds of character (the
// brackets of tags, line ends and tags) finds both in one read of the text:
// a search for each kind alone reads it twice, and each search stops and
// starts again at every character of the other kind.
inline qsizetype IndexOfEither(QStringView text, qsizetype from, char16_t first, char16_t second)
{
    const char16_t* units = text.utf16();
    const qsizetype size = text.size();
    qsizetype at = std::max<qsizetype>(from, 0);
#if defined(__SSE2__)
    const __m128i wantFirst = _mm_set1_epi16(short(first));
    const __m128i wantSecond = _mm_set1_epi16(short(second));
    for (; at + 8 <= size; at += 8) {
        const __m128i here = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + at));
        const __m128i either
            = _mm_or_si128(_mm_cmpeq_epi16(here, wantFirst), _mm_cmpeq_epi16(here, wantSecond));
        if (const int mask = _mm_movemask_epi8(either))
            return at + qsizetype(__builtin_ctz(unsigned(mask)) / 2);
    }
#endif
    for (; at < size; ++at) {
        if (units[at] == first || units[at] == second)
            return at;
    }
    return -1;
}
