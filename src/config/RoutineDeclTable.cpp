#include "config/RoutineDeclTable.h"

#include "config/TableReading.h"
#include "core/RunState.h"
#include "text/TagScanner.h"

namespace {

const QString kNotApplicable = QStringLiteral("N/A");

bool isNotApplicable(const QString& tag)
{
    return tag.compare(kNotApplicable, Qt::CaseInsensitive) == 0;
}

void startRow(RunState& state, RoutineDeclTable& table, const QString& tagField)
{
    RoutineDeclRow row;
    row.tag = isNotApplicable(tagField) ? tagField : TagScanner(state.file.toolkit).GetTagName(tagField);
    table.index.add(row.tag);
    const int index = static_cast<int>(table.rows.size());
    table.rowsByUpperTag[row.tag.toUpper()].append(index);
    if (table.firstNotApplicableRow < 0 && row.tag.toUpper() == kNotApplicable)
        table.firstNotApplicableRow = index;
    table.rows.append(row);
}

} // namespace

bool LoadRoutineDeclTable(RunState& state, TableSet& set, const RoutineResolver& resolve)
{
    const QString& fileName = set.file(SupportFile::RoutineDeclTbl);
    auto table = std::make_shared<RoutineDeclTable>();
    QStringList lines;
    if (!TableReading::ReadLines(state, fileName, lines))
        return false;

    for (qsizetype i = 1; i < lines.size(); ++i) {
        if (lines[i].trimmed().isEmpty())
            continue;
        const QStringList fields = TableReading::SplitRow(lines[i]);
        if (fields.size() != 3) {
            TableReading::Lint(state, fileName, i, TableReading::WrongFieldCount(fields.size(), 3));
            continue;
        }
        if (!fields[0].isEmpty())
            startRow(state, *table, fields[0]);
        const QString upperName = fields[1].toUpper();
        const RuleEntry* rule = resolve(upperName);
        // The check lists every unknown name rather than stopping at the first.
        if (!rule && TableReading::Linting(state)) {
            TableReading::Lint(state, fileName, i, QStringLiteral("unknown routine name ") + fields[1]);
            continue;
        }
        if (!rule) {
            state.ui.messageBox(QStringLiteral("Invalid Routine Name: ") + fields[1]
                    + QStringLiteral("\r\nPlease check ") + fileName,
                kProgramTitle, MessageIcon::Warning);
            return false;
        }
        // A continuation row before any tag row has no element to belong to;
        // it is dropped rather than given to an element the author never named.
        if (table->rows.isEmpty()) {
            TableReading::Lint(
                state, fileName, i, QStringLiteral("row dropped: a routine before any tag row"));
            continue;
        }
        table->rows.last().routines.append(
            { fields[1], fields[2], upperName, fields[2].toUpper(), SeverityOfCode(fields[2]), rule });
    }
    set.table(SupportFile::RoutineDeclTbl) = std::move(table);
    return true;
}
