#pragma once

#include "support/TempDir.h"

#include <QMap>
#include <QProcess>
#include <QString>
#include <QStringList>

// A complete, valid installation in a temporary folder: folders, a lexicon
// file, the nineteen support tables (header lines only) and a Quorvane.INI
// naming them all with full paths. Tests change what they need and run the
// real executable on it.
class Installation {
public:
    Installation();

    QString root() const { return dir_.path(); }
    QString workPath() const { return root() + "work/"; }
    QString outputPath() const { return root() + "output/"; }
    QString inputPath() const { return root() + "input/"; }
    QString tempPath() const { return root() + "temp/"; }

    // Sets (or, with a null value, removes) a key of the default sections.
    void set(const QString& key, const QString& value);
    // Text appended after the default sections (task sections, say).
    void appendIni(const QString& text) { extra_ += text; }
    // Writes a support table into tables/ and returns its full path.
    QString writeTable(const QString& name, const QByteArray& content) const;
    QString writeInput(const QString& name, const QByteArray& content) const;
    QString iniText() const;
    void writeIni() const;

    struct Result {
        int exitCode = -1;
        QString standardError;
        QString standardOutput;
    };
    // Writes the INI and runs build/quorvane --app-dir ROOT --headless ARGS.
    // Windowed runs use Qt's offscreen platform, which needs no display.
    enum class Mode { Headless, Windowed };
    Result run(const QStringList& arguments, Mode mode = Mode::Headless) const;

    static QByteArray read(const QString& path) { return TempDir::read(path); }

private:
    struct Key {
        QString section, name, value;
    };
    TempDir dir_;
    QList<Key> keys_;
    QString extra_;
};
