#pragma once

#include "support/IniBuilder.h"
#include "support/TempDir.h"

#include <QProcess>
#include <QString>
#include <QStringList>

// A complete, valid installation in a temporary folder: the configuration of
// IniBuilder with the nineteen support tables written out (header lines only)
// and named by full path. Tests change what they need and run the real
// executable on it.
class Installation {
public:
    Installation();

    QString root() const { return dir_.path(); }
    QString workPath() const { return root() + "work/"; }
    QString outputPath() const { return root() + "output/"; }
    QString inputPath() const { return root() + "input/"; }
    QString tempPath() const { return root() + "temp/"; }
    // For runs in the test process: write the INI, then start up from appFolder().
    QString appFolder() const { return ini_.appFolder(); }
    void writeConfiguration() const { ini_.write(); }

    // Sets a key where the base configuration has it; a null value removes it.
    void set(const QString& key, const QString& value);
    // Lines appended after the base configuration (task sections, plug-ins).
    void appendIni(const QString& text) { ini_.append(text); }
    // Writes a support table into tables/ and returns its full path.
    QString writeTable(const QString& name, const QByteArray& content) const;
    // The routine declaration and special-character tables the base
    // configuration names, with these rows under their header lines.
    QString declareRoutines(const QByteArray& rows) const
    {
        return writeTable("routinedecltbl.tbl", "Tag | Routine | Parameter\r\n" + rows);
    }
    QString writeSpecialCharacters(const QByteArray& rows) const
    {
        return writeTable("specialchartbl.tbl", "\"Pattern\",\"Message\",\"Severity\",\"Case\"\r\n" + rows);
    }
    QString writeInput(const QString& name, const QByteArray& content) const;
    // Writes an executable shell script (the body after "#!/bin/sh") at the root.
    QString writeScript(const QString& name, const QByteArray& body) const;

    struct Result {
        int exitCode = -1;
        QString standardError;
        QString standardOutput;
    };
    // Writes the INI and runs build/quorvane --app-dir APP --headless ARGS.
    // Windowed runs use Qt's offscreen platform, which needs no display.
    enum class Mode { Headless, Windowed };
    Result run(const QStringList& arguments, Mode mode = Mode::Headless) const;
    // Later runs start under these shell limits ("-f 64": files of at most
    // 64 KiB, "-v 200000": 200 MB of address space).
    void setLimits(const QString& ulimitArguments) { limits_ = ulimitArguments; }

    static QByteArray read(const QString& path) { return TempDir::read(path); }

private:
    TempDir dir_;
    IniBuilder ini_ { dir_ };
    QString limits_;
};
