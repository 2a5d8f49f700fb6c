#include "app/gui/FindingsModel.h"

#include <QBrush>
#include <QColor>
#include <algorithm>
#include <map>

namespace {

QString kindName(FindingKind kind)
{
    return kind == FindingKind::Error ? QStringLiteral("Error") : QStringLiteral("Warning");
}

void countInto(FindingsModel::Count& count, FindingKind kind)
{
    ++(kind == FindingKind::Error ? count.errors : count.warnings);
}

} // namespace

FindingsModel::FindingsModel(QObject* parent)
    : QAbstractTableModel(parent)
{
}

void FindingsModel::setRun(RecordedRun run)
{
    beginResetModel();
    run_ = std::move(run);
    all_.clear();
    byFile_.clear();
    std::map<QString, Count> routines;
    for (int file = 0; file < int(run_.files.size()); ++file) {
        const RecordedFile& recorded = run_.files[file];
        Count count { recorded.name };
        for (int index = 0; index < int(recorded.findings.size()); ++index) {
            const Finding& finding = recorded.findings[index];
            all_.push_back({ file, index });
            countInto(count, finding.kind);
            if (run_.routinesKnown)
                countInto(routines[finding.routine], finding.kind);
        }
        byFile_.push_back(count);
    }
    // Files in the order the run took them, each from its first line down:
    // how an operator reads them, whatever order the routines reported in.
    std::stable_sort(all_.begin(), all_.end(), [this](const Place& a, const Place& b) {
        const Finding& x = findingOf(a);
        const Finding& y = findingOf(b);
        return std::tie(a.file, x.line, x.column) < std::tie(b.file, y.line, y.column);
    });
    byRoutine_.clear();
    for (auto& [name, count] : routines) {
        count.name = name;
        byRoutine_.push_back(count);
    }
    filter_ = {};
    sortColumn_ = -1;
    shown_.resize(all_.size());
    for (int i = 0; i < int(all_.size()); ++i)
        shown_[i] = i;
    endResetModel();
}

void FindingsModel::setFilter(const Filter& filter)
{
    if (filter == filter_)
        return;
    beginResetModel();
    filter_ = filter;
    refill();
    endResetModel();
}

bool FindingsModel::accepts(const Place& place) const
{
    if (filter_.file >= 0 && place.file != filter_.file)
        return false;
    const Finding& finding = findingOf(place);
    if (filter_.kind && finding.kind != *filter_.kind)
        return false;
    if (!filter_.routine.isEmpty() && finding.routine != filter_.routine)
        return false;
    if (filter_.text.isEmpty())
        return true;
    for (const QString* field :
        { &finding.message, &finding.data, &finding.routine, &run_.files[place.file].name }) {
        if (field->contains(filter_.text, Qt::CaseInsensitive))
            return true;
    }
    return false;
}

// Filters in run order, then sorts what is left: a stable sort over the run
// order leaves equal rows as the run wrote them.
void FindingsModel::refill()
{
    shown_.clear();
    for (int i = 0; i < int(all_.size()); ++i) {
        if (accepts(all_[i]))
            shown_.push_back(i);
    }
    if (sortColumn_ < 0)
        return;
    const auto key = [this](int position) -> const Finding& { return findingOf(all_[position]); };
    const auto less = [&](int a, int b) -> bool {
        const Finding& x = key(a);
        const Finding& y = key(b);
        switch (sortColumn_) {
        case FileColumn: {
            const int byName = run_.files[all_[a].file].name.compare(run_.files[all_[b].file].name);
            if (byName != 0)
                return byName < 0;
            return std::tie(all_[a].file, x.line, x.column) < std::tie(all_[b].file, y.line, y.column);
        }
        case LineColumn:
            return std::tie(x.line, x.column) < std::tie(y.line, y.column);
        case ColumnColumn:
            return x.column < y.column;
        case KindColumn:
            return x.kind < y.kind;
        case RoutineColumn:
            return x.routine < y.routine;
        case MessageColumn:
            return x.message < y.message;
        default:
            return x.data < y.data;
        }
    };
    if (sortOrder_ == Qt::AscendingOrder)
        std::stable_sort(shown_.begin(), shown_.end(), less);
    else
        std::stable_sort(shown_.begin(), shown_.end(), [&](int a, int b) { return less(b, a); });
}

void FindingsModel::sort(int column, Qt::SortOrder order)
{
    beginResetModel();
    sortColumn_ = column;
    sortOrder_ = order;
    refill();
    endResetModel();
}

const Finding& FindingsModel::findingAt(int row) const
{
    return findingOf(all_[shown_[row]]);
}

int FindingsModel::fileAt(int row) const
{
    return all_[shown_[row]].file;
}

int FindingsModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(shown_.size());
}

int FindingsModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : kColumnCount;
}

QVariant FindingsModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= int(shown_.size()))
        return {};
    const Finding& finding = findingAt(index.row());
    if (role == Qt::ForegroundRole && index.column() == KindColumn && finding.kind == FindingKind::Error)
        return QBrush(QColor(0xB0, 0x10, 0x10));
    if (role == Qt::TextAlignmentRole && (index.column() == LineColumn || index.column() == ColumnColumn))
        return int(Qt::AlignRight | Qt::AlignVCenter);
    if (role == Qt::ToolTipRole && (index.column() == MessageColumn || index.column() == DataColumn))
        return index.column() == MessageColumn ? finding.message : finding.data;
    if (role != Qt::DisplayRole)
        return {};
    switch (index.column()) {
    case FileColumn:
        return run_.files[fileAt(index.row())].name;
    case LineColumn:
        return qlonglong(finding.line);
    case ColumnColumn:
        // The reports without columns give none; 0 would read as a position.
        return finding.column > 0 ? QVariant(finding.column) : QVariant(QString());
    case KindColumn:
        return kindName(finding.kind);
    case RoutineColumn:
        return finding.routine;
    case MessageColumn:
        return finding.message;
    default:
        return finding.data;
    }
}

QVariant FindingsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    static const char* const names[kColumnCount]
        = { "File", "Line", "Column", "Kind", "Routine", "Message", "Data content" };
    return section >= 0 && section < kColumnCount ? QString::fromLatin1(names[section]) : QString();
}
