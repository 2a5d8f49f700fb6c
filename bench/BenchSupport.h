#pragma once

#include "app/RunState.h"
#include "app/SingleFileRun.h"
#include "config/ConfigurationLoading.h"
#include "config/SupportTables.h"
#include "engine/Validator.h"
#include "report/Reports.h"
#include "rules/RuleRegistry.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

inline void WriteFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    file.write(bytes);
}

// `piece` written `count` times: the shape benchmarks grow their inputs by it.
inline QByteArray Repeat(const QByteArray& piece, qsizetype count)
{
    QByteArray text;
    text.reserve(piece.size() * count);
    for (qsizetype i = 0; i < count; ++i)
        text += piece;
    return text;
}

// A run over a temporary folder: tables written there and loaded by their
// own loaders, as start-up loads them, and reports written beside them.
class BenchRun {
public:
    BenchRun()
        : root(dir_.path() + '/')
        , state(ui_)
    {
        state.reportFolder = root;
        state.outputFolder = root;
    }

    // Writes the table under the name and loads it into the active set.
    void table(SupportFile file, const QString& name, const QByteArray& text)
    {
        WriteFile(root + name, text);
        TableSet& set = state.activeTables;
        set.file(file) = root + name;
        for (const TableLoaderEntry& entry : SupportTableLoaders()) {
            if (entry.file == file)
                entry.load({ ui_, state.ownInstallation().config }, set);
        }
    }

    void input(const QByteArray& text) { WriteFile(root + "book.xml", text); }

    // The whole per-file job: load, whole-file checks, scan and dispatch, reports.
    void validate()
    {
        state.inputPath = root + "book.xml";
        OpenReports(state);
        ValidateRunFile(state, Rules());
        CloseReports(state);
    }

private:
    QTemporaryDir dir_;
    SilentOperator ui_;

public:
    const QString root;
    RunState state;
};
