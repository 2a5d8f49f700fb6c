#pragma once

#include <QStringView>
#include <cstdint>

// The codes that tables and the configuration write as text, read once when
// they load, so that no check reads them again for every tag.

// Which report a finding goes to.
enum class Severity : std::uint8_t { Warning, Error };

// "E" (any case) is an error; anything else, an empty code included, a warning.
inline Severity SeverityOfCode(QStringView code)
{
    return code.compare(u"E", Qt::CaseInsensitive) == 0 ? Severity::Error : Severity::Warning;
}

// Where a row looks: before the tag ("S"), after it ("E") or both ("B").
// Any other code checks nothing.
enum class Placement : std::uint8_t { None, Before, After, Both };

inline Placement PlacementOfCode(QStringView code, Qt::CaseSensitivity sensitivity)
{
    if (code.compare(u"S", sensitivity) == 0)
        return Placement::Before;
    if (code.compare(u"E", sensitivity) == 0)
        return Placement::After;
    if (code.compare(u"B", sensitivity) == 0)
        return Placement::Both;
    return Placement::None;
}

inline bool LooksBefore(Placement placement)
{
    return placement == Placement::Before || placement == Placement::Both;
}

inline bool LooksAfter(Placement placement)
{
    return placement == Placement::After || placement == Placement::Both;
}

// What a conversion row says became of a text: it must be gone ("DELETE")
// or still there ("COPY"), any case. Any other word checks nothing.
enum class ConversionAction : std::uint8_t { None, Delete, Copy };

inline ConversionAction ConversionActionOfCode(QStringView code)
{
    if (code.compare(u"DELETE", Qt::CaseInsensitive) == 0)
        return ConversionAction::Delete;
    if (code.compare(u"COPY", Qt::CaseInsensitive) == 0)
        return ConversionAction::Copy;
    return ConversionAction::None;
}

// A TRUE/FALSE setting of the configuration; Unset until a key gives it, so
// that a task's set overrides the default's only where it says something.
enum class Switch : std::uint8_t { Unset, On, Off };
