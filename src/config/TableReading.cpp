#include "config/TableReading.h"

#include "core/RunState.h"
#include "text/Encoding.h"

#include <QFile>

namespace TableReading {

bool ReadLines(RunState& state, const QString& path, QStringList& lines)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        state.ui.messageBox(QStringLiteral("Error while reading ") + path + QStringLiteral("!  -- Error: ")
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

QList<QStringList> RowsOf(const QStringList& lines, int width)
{
    QList<QStringList> rows;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        if (lines[i].trimmed().isEmpty())
            continue;
        QStringList fields = SplitRow(lines[i]);
        if (fields.size() == width)
            rows.append(std::move(fields));
    }
    return rows;
}

QString Unescape(QString field)
{
    field.replace(QStringLiteral("<space>"), QStringLiteral(" "));
    field.replace(QStringLiteral("<hrt>"), QStringLiteral("\r\n"));
    field.replace(QStringLiteral("<pipe>"), QStringLiteral("|"));
    return field;
}

} // namespace TableReading
