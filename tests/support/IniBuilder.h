#pragma once

#include "support/TempDir.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <utility>

// Builds a Quorvane.INI that passes every check, with real folders in a
// temporary folder, so that a test states only what differs from it.
class IniBuilder {
public:
    explicit IniBuilder(const TempDir& dir)
        : dir_(dir)
    {
        for (const char* folder : { "app", "work", "input", "image", "output", "temp", "lex" })
            dir_.mkdir(QString::fromLatin1(folder));
        dir_.write(QStringLiteral("lex/main.dic"), "word\n");
        section("[DEFAULT]");
        section("[I/O PATHS]");
        set("WORKPATH", folder("work"));
        set("INPUTPATH", folder("input"));
        set("IMAGEPATH", folder("image"));
        set("OUTPUTPATH", folder("output"));
        set("TEMPPATH", folder("temp"));
        set("INPUTTYPE", "SGML");
        section("[SENTRY]");
        set("MAINLEXPATH", folder("lex"));
        set("USERLEXPATH", folder("lex"));
        set("MAINLEXFILES", "main.dic");
        section("[SUPPORT FILES]");
        for (const QString& key : tableKeys())
            set(key, key.toLower() + QStringLiteral(".tbl"));
        section("[SETTINGS]");
        set("ATTRIBRANGESEPARATOR", "-");
        set("IMAGEEXTENSION", ".tif");
        set("MULTIHRTMAXCOUNT", "3");
        set("CHECKMULTIHRT", "TRUE");
        set("CHECKSPECIALCHAR", "TRUE");
        set("CHECKEXCESSIMGFILES", "FALSE");
        set("CHECKFILENAME", "FALSE"); // on, its lists would refuse most test file names
        set("VALIDFILENAMECHAR", "a<comma>b");
        set("INVALIDFILENAMECHARS", "#<comma>%");
        set("CHECKIMAGEZEROBYTES", "FALSE");
    }

    static QStringList tableKeys()
    {
        return { "ROUTINEDECLTBL", "TEXTVALIDITYTBL", "NOHRTDECLTBL", "WITHHRTDECLTBL", "HYPHENATEDTBL",
            "UNCONENTITIESTBL", "NOLEADZEROTBL", "ATTRIBUNCONTBL", "SPECIALCHARTBL", "CONVERT2ATTRIBTBL",
            "CONVERT2TAGTBL", "COMPCONTTBL", "CITATIONVALTBL", "CHECKPAIRTBL", "CHECKPAIRCONTTBL",
            "FILENAMECHECKTBL", "COUNTREFCHECKTBL", "PCPDATACOMPARETBL", "IMAGEVALIDATIONTBL" };
    }

    // A folder of the temporary tree, without its final "/", as people often write them.
    QString folder(const QString& name) const { return dir_.path() + name; }
    QString appFolder() const { return folder(QStringLiteral("app")); }

    // Replaces the key in the base section that holds it, or adds it to the last section.
    IniBuilder& set(const QString& key, const QString& value)
    {
        for (auto& [header, lines] : sections_) {
            for (QString& line : lines) {
                if (line.startsWith(key + QLatin1Char('='))) {
                    line = key + QLatin1Char('=') + value;
                    return *this;
                }
            }
        }
        sections_.last().second.append(key + QLatin1Char('=') + value);
        return *this;
    }

    IniBuilder& drop(const QString& key)
    {
        for (auto& [header, lines] : sections_)
            lines.removeIf([&](const QString& line) { return line.startsWith(key + QLatin1Char('=')); });
        return *this;
    }

    // Raw lines after the base configuration (task sections, oddities).
    IniBuilder& append(const QString& rawLines)
    {
        tail_ += rawLines;
        return *this;
    }

    QString text(const QString& lineEnd = QStringLiteral("\r\n")) const
    {
        QStringList lines;
        for (const auto& [header, body] : sections_) {
            lines.append(header);
            lines.append(body);
        }
        QString result = lines.join(lineEnd) + lineEnd + tail_;
        return result.replace(QStringLiteral("\r\n"), lineEnd);
    }

    void write(const QString& lineEnd = QStringLiteral("\r\n")) const { writeBytes(text(lineEnd).toUtf8()); }
    void writeBytes(const QByteArray& bytes) const { dir_.write(QStringLiteral("app/Quorvane.INI"), bytes); }

private:
    IniBuilder& section(const char* header)
    {
        sections_.append({ QString::fromLatin1(header), {} });
        return *this;
    }

    const TempDir& dir_;
    QList<std::pair<QString, QStringList>> sections_;
    QString tail_;
};
