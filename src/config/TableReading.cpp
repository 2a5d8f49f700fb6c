#include "config/TableReading.h"

#include "config/ConfigurationLoading.h"
#include "text/Encoding.h"

#include <QFile>

namespace TableReading {

bool ReadLines(const ConfigurationLoading& loading, const QString& path, QStringList& lines)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) && Linting(loading)) {
        Lint(loading, path, -1, QStringLiteral("cannot be read: ") + file.errorString());
        return false;
    }
    if (!file.isOpen()) {
        loading.ui.messageBox(QStringLiteral("Error while reading ") + path + QStringLiteral("!  -- Error: ")
                + file.errorString(),
            kProgramTitle, MessageIcon::Critical);
        return false;
    }
    lines = SplitTextLines(DecodeTableText(file.readAll()));
    return true;
}

QStringList SplitRow(const QString& line)
{
    QStringList fields = line.split(QLatin1Char('|'));
    for (QString& field : fields)
        field = field.trimmed();
    return fields;
}

namespace {

// The rows of the given width after the header line; `dropped(index, fields)`
// hears of every other non-blank line.
template <class Dropped> QList<QStringList> rowsOf(const QStringList& lines, int width, Dropped&& dropped)
{
    QList<QStringList> rows;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        if (lines[i].trimmed().isEmpty())
            continue;
        QStringList fields = SplitRow(lines[i]);
        if (fields.size() == width)
            rows.append(std::move(fields));
        else
            dropped(i, fields.size());
    }
    return rows;
}

} // namespace

QList<QStringList> RowsOf(const QStringList& lines, int width)
{
    return rowsOf(lines, width, [](qsizetype, qsizetype) {});
}

QList<QStringList> RowsOf(
    const ConfigurationLoading& loading, const QString& path, const QStringList& lines, int width)
{
    if (!Linting(loading))
        return RowsOf(lines, width);
    return rowsOf(lines, width,
        [&](qsizetype index, qsizetype count) { Lint(loading, path, index, WrongFieldCount(count, width)); });
}

bool Linting(const ConfigurationLoading& loading)
{
    return loading.lint != nullptr;
}

void Lint(const ConfigurationLoading& loading, const QString& path, qsizetype index, const QString& message)
{
    if (loading.lint)
        loading.lint->note(path, index < 0 ? 0 : index + 1, message);
}

void LintCodes(const ConfigurationLoading& loading, const QString& path, const QStringList& lines, int width,
    const QList<FieldCodes>& fields)
{
    // The first line is the table's header.
    for (qsizetype i = 1; Linting(loading) && i < lines.size(); ++i) {
        const QStringList row = SplitRow(lines[i]);
        if (row.size() != width)
            continue;
        for (const FieldCodes& field : fields) {
            const QString& code = row[field.column];
            if (!field.known.contains(code, field.caseSensitivity))
                Lint(loading, path, i,
                    field.name + QStringLiteral(" \"") + code + QStringLiteral("\" is none of ")
                        + field.known.join(QStringLiteral(", ")));
        }
    }
}

QString WrongFieldCount(qsizetype fields, int width)
{
    return QStringLiteral("row dropped: %1 field(s) where the table has %2").arg(fields).arg(width);
}

QString Unescape(QString field)
{
    field.replace(QStringLiteral("<space>"), QStringLiteral(" "));
    field.replace(QStringLiteral("<hrt>"), QStringLiteral("\r\n"));
    field.replace(QStringLiteral("<pipe>"), QStringLiteral("|"));
    return field;
}

} // namespace TableReading
