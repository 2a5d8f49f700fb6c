#pragma once

// Included into every test source by the build, so that failed expectations
// print Qt strings as text instead of bytes.
#include <QByteArray>
#include <QString>
#include <QStringList>
#include <ostream>

inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}
inline void PrintTo(const QByteArray& bytes, std::ostream* out)
{
    *out << '"' << bytes.toStdString() << '"';
}
inline void PrintTo(const QStringList& list, std::ostream* out)
{
    *out << "{";
    for (qsizetype i = 0; i < list.size(); ++i)
        *out << (i ? ", " : " ") << '"' << list[i].toStdString() << '"';
    *out << " }";
}
