#pragma once

#include "app/BatchRun.h"
#include "report/RecordedRun.h"

#include <QPointer>
#include <QWidget>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QProgressBar;
class QPushButton;
class FindingsViewer;
class WindowOperator;
struct RunState;

// The batch window: the operator picks a folder, the files or subfolders to
// validate, a task code and the report and output folders, and presses
// PROCESS. The window only collects these and shows progress; the batch
// itself is RunBatch's.
class BatchWindow : public QWidget, private BatchObserver {
public:
    // With a window operator the message boxes and the per-file progress use
    // this window; tests leave it out and watch the run state's operator.
    explicit BatchWindow(RunState& state, WindowOperator* windowOperator = nullptr);

    // The folder list's path, with a trailing "/".
    QString folderPath() const { return folderPath_; }
    // Moves the drive and folder lists to the folder and refills the list.
    void setFolderPath(const QString& folder);
    bool isRunning() const { return running_; }
    // The findings of the latest batch, beside their inputs; opens on its own
    // when a batch with findings ends.
    void showFindings();
    FindingsViewer* findingsViewer() const;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void buildControls();
    void buildLayout();
    void connectControls();
    void fillDriveList();
    void fillFolderList();
    void fillFileList();
    void openFolder(QListWidgetItem* item);
    void driveChosen(int index);
    void selectAll(bool checked);
    void refreshSelectionState();
    void search();
    void allocate();
    void process();
    void setInputsEnabled(bool enabled);
    void chooseInputFolder();
    void chooseFolder(QLineEdit* field, const QString& title);

    void batchStarted() override;
    void fileStarted(int number, int total, const QString& inputPath) override;
    void batchFinished() override;

    RunState& state_;
    QString folderPath_;
    bool running_ = false;
    bool ended_ = false;
    int exitStatus_ = 0;

    QComboBox* drvInput_;
    QLabel* folderLabel_;
    QListWidget* dirInput_;
    QLabel* listLabel_;
    QListWidget* entryList_;
    QCheckBox* selectAll_;
    QLineEdit* searchBox_;
    QLineEdit* TxtTaskCode_;
    QPushButton* allocateButton_;
    QLineEdit* TxtTempPath_;
    QLineEdit* TxtOutputPath_;
    QPushButton* processButton_;
    QPushButton* exitButton_;
    QProgressBar* pbar_;
    QLabel* progressLabel_;
    QPushButton* chooseInput_;
    QPushButton* chooseWork_;
    QPushButton* chooseOutput_;
    QPushButton* viewFindings_;

    bool hasRun_ = false;
    RecordedRun lastRun_;
    QString lastWorkPath_;
    QPointer<FindingsViewer> viewer_;
};
