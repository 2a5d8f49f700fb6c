#pragma once

#include <QString>

// A part of a text as a string of its own that shares the text's buffer:
// nothing is allocated or copied, and the buffer lives as long as any part
// of it does, so a part kept after its text was dropped still reads the same
// characters. Writing to a part copies it first, as for any shared string.
// The driver hands every line and tag of a document to the rules this way.
// A part is not followed by a terminating zero; every reader here takes the
// size with the characters.
inline QString SharedPart(const QString& whole, qsizetype from, qsizetype length)
{
    QString::DataPointer part(whole.data_ptr()); // takes a reference to the buffer
    part.ptr += from;
    part.size = length;
    return QString(std::move(part));
}

// Whether the string reads (part of) the very buffer of `whole`.
inline bool SharesBuffer(const QString& part, const QString& whole)
{
    return whole.data_ptr().d != nullptr && part.data_ptr().d == whole.data_ptr().d;
}

// Whether the two strings are the same characters at the same place: a part
// of a shared buffer is the same as another only when both start and end
// together, however many other parts share that buffer.
inline bool SamePlace(const QString& a, const QString& b)
{
    // A null string and an empty one may point at the same static empty text.
    return a.constData() == b.constData() && a.size() == b.size() && a.isNull() == b.isNull();
}

// Assigns unless the target already is the same characters at the same
// place: most tags repeat their neighbour's line and name, and skipping the
// assignment spares the reference counting of two strings.
inline void AssignUnlessSame(QString& to, const QString& from)
{
    if (!SamePlace(to, from))
        to = from;
}

// A part of a text that holds no reference to its buffer: copying it counts
// nothing, which the driver's per-tag records need, but it reads the text's
// characters only as long as the text lives. The driver hands the rules each
// tag's text this way and gives every record it keeps past the document
// characters of its own (see ReadsText); a rule keeps nothing past its file
// but what it copied or built.
inline QString UncountedPart(const QString& whole, qsizetype from, qsizetype length)
{
    return QString::fromRawData(whole.constData() + from, length);
}

// Whether the string reads characters of `whole`'s buffer, by reference or not.
inline bool ReadsText(const QString& part, const QString& whole)
{
    const QChar* begin = whole.constData();
    return !whole.isEmpty() && part.constData() >= begin && part.constData() < begin + whole.size();
}
