#include "app/CheckConfig.h"

#include "app/BatchRun.h"
#include "app/SingleFileRun.h"
#include "config/ConfigurationFile.h"
#include "config/ConfigurationLoading.h"
#include "config/RoutineDeclTable.h"
#include "config/TableReading.h"
#include "config/TableSetFields.h"
#include "rules/ContentComparison.h"
#include "rules/CrossReferences.h"
#include "rules/FileNameCheck.h"
#include "rules/ImageChecks.h"
#include "rules/Pairs.h"
#include "rules/RuleRegistry.h"
#include "text/InputLoading.h"
#include "text/TagScanner.h"
#include "text/TagSearch.h"

#include <QDirIterator>
#include <QFileInfo>
#include <QSet>
#include <algorithm>

namespace {

// Keeps every problem once: a table that the default set and a task share is
// loaded for both, and says the same twice.
class ProblemList : public TableLint {
public:
    void note(const QString& file, qsizetype line, const QString& message) override
    {
        const QString text = line > 0 ? QStringLiteral("%1:%2: %3").arg(file).arg(line).arg(message)
                                      : QStringLiteral("%1: %2").arg(file, message);
        if (seen_.contains(text))
            return;
        seen_.insert(text);
        problems.append(text);
    }
    QStringList problems;

private:
    QSet<QString> seen_;
};

// Listens to the sets that were not asked for: their tables still decide
// what is used, but their faults are not this check's to list.
class NoLint : public TableLint {
public:
    void note(const QString&, qsizetype, const QString&) override { }
};

// One way a run can be configured: the default set, or a task over it.
struct RunSetup {
    QString taskCode; // empty for the default set
    TableSet* ownSet; // the tables this setup names itself
    bool asked;
};

QString canonical(const QString& path)
{
    return QFileInfo(path).canonicalFilePath();
}

void checkExistence(const TableSet& set, bool isDefault, TableLint& lint)
{
    for (int i = 0; i < kSupportFileCount; ++i) {
        const QString& name = set.files[i];
        // A task without its own name for a table borrows the default's.
        if (name.isEmpty() && !isDefault)
            continue;
        if (!QFileInfo(name).isFile())
            lint.note(name, 0, QStringLiteral("does not exist (named by %1)").arg(kSupportFileFields[i].key));
    }
}

void loadSet(const ConfigurationLoading& loading, TableSet& set)
{
    for (const TableLoaderEntry& entry : SupportTableLoaders()) {
        const QString& name = set.file(entry.file);
        if (!name.isEmpty() && QFileInfo(name).isFile())
            entry.load(loading, set);
    }
}

// The routines the active set's declaration table names, upper-cased.
QSet<QString> declaredRoutines(const TableSet& active)
{
    QSet<QString> declared;
    if (const auto* table = active.loaded<RoutineDeclTable>(SupportFile::RoutineDeclTbl)) {
        for (const RoutineDeclRow& row : table->rows) {
            for (const RoutineCall& call : row.routines)
                declared.insert(call.upperName);
        }
    }
    return declared;
}

// The tables a run with this active set reads: its routine declaration table,
// the tables of the routines that table declares, and those of the
// whole-file checks that are switched on.
void markUsed(const TableSet& active, QSet<QString>& used)
{
    used.insert(canonical(active.file(SupportFile::RoutineDeclTbl)));
    if (const auto* table = active.loaded<RoutineDeclTable>(SupportFile::RoutineDeclTbl)) {
        for (const RoutineDeclRow& row : table->rows) {
            for (const RoutineCall& call : row.routines) {
                if (call.rule->table)
                    used.insert(canonical(active.file(*call.rule->table)));
            }
        }
    }
    for (const RuleEntry& check : Rules().wholeFileChecks) {
        if (check.table && SwitchedOn(check, active))
            used.insert(canonical(active.file(*check.table)));
    }
}

// Every table key is required, so an installation that has no use for a rule
// names a table with its header line alone: only a table with rows in it
// can be forgotten.
bool hasRows(const ConfigurationLoading& loading, const QString& path)
{
    QStringList lines;
    if (!TableReading::ReadLines(loading, path, lines))
        return false;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        if (!lines[i].trimmed().isEmpty())
            return true;
    }
    return false;
}

QString unusedReason(SupportFile file)
{
    QStringList routines;
    QStringList switches;
    for (const RuleEntry& rule : Rules().routines) {
        if (rule.table == file)
            routines.append(QString(rule.name));
    }
    for (const RuleEntry& check : Rules().wholeFileChecks) {
        // A check that is off while its switch is unset is kept off by anything but TRUE.
        if (check.table == file && check.gate.field)
            switches.append(QString(check.gate.key)
                + (check.gate.onWhenUnset ? QStringLiteral(" is FALSE") : QStringLiteral(" is not TRUE")));
    }
    QStringList reasons;
    if (!routines.isEmpty())
        reasons.append(
            QStringLiteral("no routine declaration table names ") + routines.join(QStringLiteral(" or ")));
    reasons += switches;
    return QStringLiteral("the table is never used: ") + reasons.join(QStringLiteral(", and "));
}

void checkUnused(const ConfigurationLoading& loading, const QList<RunSetup>& setups,
    const QSet<QString>& used, TableLint& lint)
{
    for (const RunSetup& setup : setups) {
        if (!setup.asked)
            continue;
        for (int i = 0; i < kSupportFileCount; ++i) {
            const QString& name = setup.ownSet->files[i];
            if (name.isEmpty() || !QFileInfo(name).isFile() || used.contains(canonical(name)))
                continue;
            // The lint hears of a table that cannot be read, too.
            if (hasRows({ loading.ui, loading.config, &lint }, name))
                lint.note(name, 0, unusedReason(static_cast<SupportFile>(i)));
        }
    }
}

// Settings that leave the image and file-name checks of a run checking
// nothing, or something else than they look like.
// A task that takes its settings from the default set is not told again
// what the default set was told.
void checkRuleSettings(const Configuration& config, const TableSet& active, const RunSetup& setup,
    QSet<QString>& told, TableLint& lint)
{
    QStringList found = ImageSetupProblems(active, declaredRoutines(active)) + FileNameSetupProblems(active);
    found.removeIf([&](const QString& problem) { return told.contains(problem); });
    if (setup.taskCode.isEmpty())
        told.unite(QSet<QString>(found.cbegin(), found.cend()));
    const QString prefix
        = setup.taskCode.isEmpty() ? QString() : QStringLiteral("task %1: ").arg(setup.taskCode);
    for (const QString& problem : found)
        lint.note(config.ApplicationPath + QStringLiteral("Quorvane.INI"), 0, prefix + problem);
}

void checkJobFile(const Configuration& config, TableLint& lint)
{
    const QString& jobFile = config.KlmxIniFile;
    if (!jobFile.isEmpty() && !QFileInfo(jobFile).isFile())
        lint.note(config.ApplicationPath + QStringLiteral("Quorvane.INI"), 0,
            QStringLiteral("KLMXINIFILE names %1, which does not exist").arg(jobFile));
}

// The element names an input writes as start tags and as empty tags,
// upper-cased as the row stack compares them.
struct TagUse {
    QSet<QString> started;
    QSet<QString> empty;
};

// Reads the tags line by line as the driver's scanner does, so a start tag
// broken over two lines is no start tag here either.
bool readTagUse(const ConfigurationLoading& loading, const QString& path, TagUse& use)
{
    QString text;
    try {
        text = LoadInputText(loading.ui, path, loading.config.Utf8Input);
    } catch (const InputUnreadable&) {
        return false;
    }
    // Only tags are read here: what the scanner notes on the way (quoted
    // markup) belongs to no run.
    ToolkitState scannerValues;
    TagScanner xml(scannerValues);
    for (const QString& line : text.split(QLatin1String("\r\n"))) {
        for (qsizetype from = 0; const std::optional<TagMatch> match = xml.FindTag(line, from);) {
            from = match->start + 1;
            const QString tag = match->text.toString();
            if (tag.contains(QLatin1String("<!")) || tag.contains(QLatin1String("<?")))
                continue;
            const TagKind kind = xml.GetTagType(tag);
            if (kind == TagKind::Start)
                use.started.insert(xml.GetTagName(tag).toUpper());
            else if (kind == TagKind::Empty)
                use.empty.insert(xml.GetTagName(tag).toUpper());
        }
    }
    return true;
}

// The files the batch window would offer below INPUTPATH, by path, the
// first kCheckedSampleFiles of them.
QStringList sampleInputs(const Configuration& config)
{
    QStringList files;
    if (config.InputPath.isEmpty())
        return files;
    QDirIterator walk(config.InputPath, QDir::Files, QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        walk.next();
        if (PassesFileMask(config.InputFileMask, walk.fileName()))
            files.append(walk.filePath());
    }
    std::sort(files.begin(), files.end());
    return files.mid(0, kCheckedSampleFiles);
}

// The file line of the first row declared for the element: rows do not keep
// their lines, and blank lines are not rows.
qsizetype rowLine(const ConfigurationLoading& loading, const QString& path, const QString& upperTag)
{
    QStringList lines;
    if (!TableReading::ReadLines(loading, path, lines))
        return 0;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QString field = lines[i].section(QLatin1Char('|'), 0, 0).trimmed();
        if (!field.isEmpty() && TagSearch::TagNameOf(field).toUpper() == upperTag)
            return i + 1;
    }
    return 0;
}

// Calls `check` with the table set and routine declaration table of every
// task the check was asked about that has one.
template <class Check>
void forEachDeclarationTable(
    const ConfigurationLoading& loading, const QList<RunSetup>& setups, Check&& check)
{
    for (const RunSetup& setup : setups) {
        if (!setup.asked)
            continue;
        const TableSet active = TableSetForTask(loading.ui, loading.config, setup.taskCode);
        if (const auto* table = active.loaded<RoutineDeclTable>(SupportFile::RoutineDeclTbl))
            check(active, table);
    }
}

// An empty tag of a declared element pops the enclosing element's row and
// pushes none: the element's own routines never run for it.
void checkEmptyOnlyElements(const ConfigurationLoading& loading, const QList<RunSetup>& setups,
    const TagUse& use, const QString& inputs, TableLint& lint)
{
    forEachDeclarationTable(loading, setups, [&](const TableSet& active, const RoutineDeclTable* table) {
        QSet<QString> told;
        for (const RoutineDeclRow& row : table->rows) {
            const QString upper = row.tag.toUpper();
            if (row.routines.isEmpty() || told.contains(upper) || !use.empty.contains(upper)
                || use.started.contains(upper))
                continue;
            told.insert(upper);
            const QString& path = active.file(SupportFile::RoutineDeclTbl);
            lint.note(path, rowLine(loading, path, upper),
                QStringLiteral("the routines declared on %1 never run: %2 holds it only as an empty tag "
                               "<%1/>, which ends the enclosing element's routines instead of starting its "
                               "own; declare them on the enclosing element")
                    .arg(row.tag, inputs));
        }
    });
}

// The elements whose start tags the rows of a routine's table act on.
struct RoutineReach {
    QString routine;
    QStringList elements;
};

template <class Table, class Names>
void addReach(
    QList<RoutineReach>& reach, const TableSet& set, SupportFile file, const char* routine, Names&& names)
{
    if (const auto* table = set.loaded<Table>(file)) {
        QStringList elements;
        for (const auto& row : table->rows)
            elements += names(row);
        elements.removeDuplicates();
        reach.append({ QString::fromLatin1(routine), elements });
    }
}

QList<RoutineReach> reachOf(const TableSet& set)
{
    QList<RoutineReach> reach;
    using enum SupportFile;
    addReach<CitationTable>(reach, set, CitationValTbl, "CITATIONVALIDITY",
        [](const CitationRow& row) { return QStringList { row.tag.name }; });
    addReach<CountRefTable>(reach, set, CountRefCheck, "CHECKCOUNTREFVALIDITY", [](const CountRefRow& row) {
        return QStringList { ElementNameOf(row.referringField), ElementNameOf(row.targetField) };
    });
    addReach<PairTable>(reach, set, CheckPairTbl, "CHECKPAIRVALIDITY",
        [](const PairRow& row) { return QStringList { row.tag.name }; });
    addReach<PairContentTable>(reach, set, CheckPairContTbl, "CHECKPAIRCONTVALIDITY",
        [](const PairContentRow& row) { return QStringList { row.tag.name }; });
    addReach<CompContTable>(reach, set, CompContTbl, "COMPCONT", [](const CompContRow& row) {
        return QStringList { row.first.name, row.second.name };
    });
    addReach<PcDataTable>(reach, set, PCPDataCompare, "PCPDATACOMPARE",
        [](const PcDataRow& row) { return QStringList { row.tag.name }; });
    return reach;
}

bool lists(const RoutineDeclRow& row, const QString& routine)
{
    return std::any_of(row.routines.begin(), row.routines.end(),
        [&](const RoutineCall& call) { return call.upperName == routine; });
}

// At the start tag of an element that has rows of its own, only the last of
// them runs (after the first "N/A" row): a routine whose table names the
// element but that neither row lists never sees it. Elements without rows run
// an enclosing element's row, which only an input can tell.
void checkRoutineReach(const ConfigurationLoading& loading, const QList<RunSetup>& setups, TableLint& lint)
{
    forEachDeclarationTable(loading, setups, [&](const TableSet& active, const RoutineDeclTable* table) {
        const QString& path = active.file(SupportFile::RoutineDeclTbl);
        for (const RoutineReach& reach : reachOf(active)) {
            const bool everywhere = table->firstNotApplicableRow >= 0
                && lists(table->rows[table->firstNotApplicableRow], reach.routine);
            const bool declared = std::any_of(table->rows.begin(), table->rows.end(),
                [&](const RoutineDeclRow& row) { return lists(row, reach.routine); });
            if (everywhere || !declared)
                continue;
            for (const QString& element : reach.elements) {
                const auto rows = table->rowsByUpperTag.constFind(element.toUpper());
                if (rows == table->rowsByUpperTag.constEnd()
                    || lists(table->rows[rows->last()], reach.routine))
                    continue;
                lint.note(path, rowLine(loading, path, element.toUpper()),
                    QStringLiteral(
                        "%1 never runs for %2: its table names %2, but the row declared for %2 does "
                        "not list it; list it there or on an N/A row")
                        .arg(reach.routine, element));
            }
        }
    });
}

} // namespace

ConfigCheckResult CheckConfiguration(
    OperatorInterface& ui, Configuration& config, const QString& taskCode, const QString& inputPath)
{
    ConfigCheckResult result;
    // Reads the configuration and the inputs; the tables are loaded below
    // with a lint of their own.
    const ConfigurationLoading loading { ui, config };
    // A check must neither wait for a night's batch nor clear the folder
    // where that batch stages its inputs.
    if (!ReadConfigurationFile(loading)) {
        result.exitStatus = 2;
        return result;
    }
    ProblemList problems;
    NoLint quiet;

    QList<RunSetup> setups { { QString(), &config.DefaultTableSet, true } };
    bool taskFound = taskCode.isEmpty();
    for (TaskTableSet& task : config.Tasks) {
        const bool asked = taskCode.isEmpty() || task.TaskCode.toUpper() == taskCode.toUpper();
        taskFound = taskFound || asked;
        setups.append({ task.TaskCode, &task.set, asked });
    }
    if (!taskFound)
        problems.note(config.ApplicationPath + QStringLiteral("Quorvane.INI"), 0,
            QStringLiteral("no [TASK] section names the task code ") + taskCode);

    checkJobFile(config, problems);
    for (const RunSetup& setup : setups) {
        if (setup.asked)
            checkExistence(*setup.ownSet, setup.taskCode.isEmpty(), problems);
    }
    for (const RunSetup& setup : setups) {
        loadSet({ ui, config, setup.asked ? static_cast<TableLint*>(&problems) : &quiet }, *setup.ownSet);
    }
    QSet<QString> used;
    QSet<QString> told;
    for (const RunSetup& setup : setups) {
        const TableSet active = TableSetForTask(ui, config, setup.taskCode);
        markUsed(active, used);
        if (setup.asked)
            checkRuleSettings(config, active, setup, told, problems);
    }
    checkUnused(loading, setups, used, problems);

    const QStringList inputs = inputPath.isEmpty() ? sampleInputs(config) : QStringList { inputPath };
    TagUse use;
    for (const QString& input : inputs) {
        if (!QFileInfo(input).isFile() || !readTagUse(loading, input, use)) {
            result.exitStatus = 2;
            result.refusal = QStringLiteral("cannot read the input %1").arg(input);
            return result;
        }
    }
    const QString described = inputPath.isEmpty()
        ? QStringLiteral("the input (%1 file(s) below %2)").arg(inputs.size()).arg(config.InputPath)
        : inputPath;
    checkEmptyOnlyElements(loading, setups, use, described, problems);
    checkRoutineReach(loading, setups, problems);

    result.problems = problems.problems;
    result.exitStatus = result.problems.isEmpty() ? 0 : 1;
    return result;
}
