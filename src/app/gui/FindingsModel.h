#pragma once

#include "report/RecordedRun.h"

#include <QAbstractTableModel>
#include <optional>
#include <vector>

// The findings of a run as one table, filtered and sorted in place. Rows are
// positions in the run, never copies of findings, so a run of a hundred
// thousand findings sorts and filters in a moment.
class FindingsModel : public QAbstractTableModel {
public:
    enum Column {
        FileColumn,
        LineColumn,
        ColumnColumn,
        KindColumn,
        RoutineColumn,
        MessageColumn,
        DataColumn
    };
    static constexpr int kColumnCount = 7;

    struct Filter {
        int file = -1; // index into the run's files; -1: every file
        std::optional<FindingKind> kind;
        QString routine; // empty: every routine
        QString text; // in the message, data, routine or file name, any case
        bool operator==(const Filter&) const = default;
    };

    struct Count {
        QString name;
        int errors = 0;
        int warnings = 0;
    };

    explicit FindingsModel(QObject* parent = nullptr);

    void setRun(RecordedRun run);
    const RecordedRun& run() const { return run_; }
    void setFilter(const Filter& filter);
    const Filter& filter() const { return filter_; }

    int findingCount() const { return int(all_.size()); }
    const Finding& findingAt(int row) const;
    int fileAt(int row) const;

    // Whole-run counts, files in run order, routines by name.
    const std::vector<Count>& countsByFile() const { return byFile_; }
    const std::vector<Count>& countsByRoutine() const { return byRoutine_; }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    // Column -1 restores the run's own order: files as validated, each by line and column.
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

private:
    struct Place {
        int file;
        int index;
    };
    bool accepts(const Place& place) const;
    void refill();
    const Finding& findingOf(const Place& place) const
    {
        return run_.files[place.file].findings[place.index];
    }

    RecordedRun run_;
    std::vector<Place> all_; // files in run order, each by line and column
    std::vector<int> shown_; // positions in all_
    Filter filter_;
    int sortColumn_ = -1;
    Qt::SortOrder sortOrder_ = Qt::AscendingOrder;
    std::vector<Count> byFile_;
    std::vector<Count> byRoutine_;
};
