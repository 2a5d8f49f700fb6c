#pragma once

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>
#include <sys/types.h>

struct RuleBook;
struct RunServices;
struct RunState;

// Validates the one file of the command line: before-programs on a copy in
// the temporary folder, reports, validation, after-programs, program logs,
// removal of the temporary folder. Returns the exit status of the run.
int RunSingleFile(RunState& state);
// The job itself; RunSingleFile adds the clean-up when it ends early.
int ValidateSingleFile(RunState& state);

// Starts a program with the input path as its one argument and waits for it,
// without a time limit unless --plugin-timeout gave one; at the limit the
// program is stopped with everything it started. A program that cannot
// start, crashes, ends with a status other than 0 or is stopped is named in
// a diagnostic line; that text is returned (empty when the program did its
// work).
QString RunOutsideProgram(RunState& state, const QString& program, const QString& inputPath);

// Copies the input into the temporary folder (unless it already lies there)
// and makes the copy the input path, so before-programs never touch the
// original. Returns why the copy could not be made, empty when it was.
QString StageInputInTempFolder(RunState& state);

// Refuses (RunAborted) an input that is a file the run writes or removes:
// one of its own reports, the editor file, a program log, one of its copies
// in the output folder, anything in the temporary folder.
void RefuseInputTheRunWrites(RunState& state);

// RefuseInputTheRunWrites for the many inputs of one batch, each set in turn
// as the state's input with its report and output folders: the files every
// input is compared with (the program logs, the editor file) and the folders
// the inputs lie in are looked up once, not once per input. Meant for one
// pass over the inputs before anything is written.
class InputRefusal {
public:
    explicit InputRefusal(RunState& state);
    void check();

private:
    struct Found {
        bool exists = false;
        dev_t device = 0;
        ino_t inode = 0;
    };
    Found identityOf(const QString& path);
    bool seenEmpty(const QString& folder);
    QString canonicalFolder(const QString& folder);
    bool insideRunTempFolder(bool linked);

    RunState& state_;
    QHash<QString, Found> identities_;
    QHash<QString, bool> emptyFolders_;
    QHash<QString, QString> canonicalFolders_;
};

// The outside programs around the validation of one file, as both runs use
// them: with before-programs the input is staged first, and every program
// gets the input path as its argument. A before-program that fails fails the
// file (report.checkNotFinished): it is not validated. A failed file is not
// handed to the after-programs; an after-program that fails fails the run.
void RunBeforePrograms(RunState& state);
void RunAfterPrograms(RunState& state);

// Validates the run's input (state.inputPath, delivered as
// state.currentInputPath when a before-program made it) with the run's
// services; the reports are open.
void ValidateRunFile(RunState& state, const RuleBook& rules);
// The same with other services than the run's own (a batch worker's engine).
void ValidateRunFile(RunState& state, const RunServices& services, const RuleBook& rules);

// Opens the reports, runs the before-programs (in the order the run asks
// for) and validates the file unless a before-program failed.
void ValidateOneFile(RunState& state, bool reportsFirst);

// Removes the ".part" files a killed run left where this file's reports and
// copies go; `keep` holds the run's inputs, which are never removed.
void RemoveLeftoversOfKilledRuns(const RunState& state, const QString& reportFolder,
    const QString& outputFolder, const QSet<QString>& keep);

// Removes the working folder that start-up made (TempPath + "Quorvane_Temp/"),
// whichever way the run ends; nothing when start-up did not get that far.
void RemoveRunTempFolder(RunState& state);

// After the run's last file, with CHECKEXCESSIMGFILES on: every image of the
// run's image folders that no file called out, in the program log and the
// outputs.
void ReportImagesWithoutCallout(RunState& state);

// Removes that folder and lets other runs have TempPath again (a batch of
// the window, which claims it per batch).
void ReleaseTempFolder(RunState& state);

// The exit status for what the run has written so far.
int ExitStatusOf(const RunState& state);
