#pragma once

#include "report/RecordedRun.h"

#include <QList>
#include <QWidget>
#include <memory>

class FindingsModel;
class QComboBox;
class QLabel;
class QLineEdit;
class QTabWidget;
class QTableView;
class QThread;
class QTimer;
class QTreeWidget;
class SourceView;
struct Configuration;
struct SourceText;

// What the viewer takes from the configuration.
struct ViewerSettings {
    bool utf8Input = false; // decode inputs as the run did
    QString editorProgram; // EDITORPROGRAM; empty: no editor
    QString applicationFolder; // where a bare editor name is looked for first
};
ViewerSettings ViewerSettingsOf(const Configuration& config);

// The findings of one run beside the input text: a sortable, filterable list
// with counts per file and per routine; the selected finding's line shown in
// the input, its column marked; Enter or a double click opens the editor
// program there.
class FindingsViewer : public QWidget {
public:
    // origin says where the findings come from, for the caption.
    FindingsViewer(
        RecordedRun run, ViewerSettings settings, const QString& origin, QWidget* parent = nullptr);
    ~FindingsViewer() override;

    FindingsModel* model() const { return model_; }
    SourceView* sourceView() const { return source_; }
    // Opens the current finding in the editor program; false (with the
    // reason in the status line) when it cannot.
    bool openCurrentInEditor();

private:
    void buildControls(const QString& origin);
    void buildLayout();
    void fillFilters();
    void fillCounts();
    void applyFilter();
    void showFinding(int row);
    void startLoading(const QString& path);
    void sourceLoaded(const QString& path, const std::shared_ptr<const SourceText>& source);
    void setStatus(const QString& text);

    ViewerSettings settings_;
    FindingsModel* model_;
    QComboBox* fileFilter_;
    QComboBox* kindFilter_;
    QComboBox* routineFilter_;
    QLineEdit* search_;
    QTimer* searchDelay_;
    QLabel* shownCount_;
    QTableView* table_;
    QTreeWidget* fileCounts_;
    QTreeWidget* routineCounts_;
    QTabWidget* counts_;
    QLabel* findingLabel_;
    QLabel* sourceLabel_;
    SourceView* source_;
    QLabel* status_;

    QString shownPath_; // the input the text view holds
    QString loadingPath_; // the input being read, if any
    int loadGeneration_ = 0;
    QList<QThread*> loaders_;
    qint64 wantedLine_ = 0;
    int wantedColumn_ = 0;
};
