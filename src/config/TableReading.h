#pragma once

#include <QString>
#include <QStringList>

struct ConfigurationLoading;

// Reading rules shared by every support-table loader.
namespace TableReading {

// Reads a whole table file (UTF-8 when valid, Windows-1252 otherwise) and
// splits it into lines at CR LF, LF or CR. On failure shows
// "Error while reading " + path + "!  -- Error: " + description and returns false.
bool ReadLines(const ConfigurationLoading& loading, const QString& path, QStringList& lines);

// Splits a row at "|" and trims every field.
QStringList SplitRow(const QString& line);

// The rows of a headed table: the first line is skipped, blank rows and rows
// without exactly `width` fields are dropped, fields are trimmed.
QList<QStringList> RowsOf(const QStringList& lines, int width);

// The same, telling the table lint (when the loading has one) about every
// non-blank row dropped for its number of fields.
QList<QStringList> RowsOf(
    const ConfigurationLoading& loading, const QString& path, const QStringList& lines, int width);

// Whether the configuration check is listening: loaders then tell it what
// they would otherwise drop, refuse or announce in a message box.
bool Linting(const ConfigurationLoading& loading);
// Tells the lint about line `index` (zero-based, as in the line list) of the
// file; a negative index speaks of the whole file. Nothing without a lint.
void Lint(const ConfigurationLoading& loading, const QString& path, qsizetype index, const QString& message);
// The message for a row dropped for its number of fields.
QString WrongFieldCount(qsizetype fields, int width);

// A coded field of a table: the column, what the lint calls it, the codes
// the rule acts on, and whether it tells their letter case apart.
struct FieldCodes {
    int column;
    QString name;
    QStringList known;
    Qt::CaseSensitivity caseSensitivity = Qt::CaseInsensitive;
};
// Tells the lint about every row of `width` fields whose coded field holds a
// code the rule does not act on: such a row loads, and checks nothing.
void LintCodes(const ConfigurationLoading& loading, const QString& path, const QStringList& lines, int width,
    const QList<FieldCodes>& fields);

// "<space>", "<hrt>" and "<pipe>" stand for a blank, CR LF and "|".
QString Unescape(QString field);

} // namespace TableReading
