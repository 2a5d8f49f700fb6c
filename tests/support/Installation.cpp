#include "support/Installation.h"

#include <QFile>

namespace {

const char* const kTables[][2] = {
    {"ROUTINEDECLTBL", "routine.tbl"},     {"TEXTVALIDITYTBL", "textvalidity.tbl"},
    {"NOHRTDECLTBL", "nohrt.tbl"},         {"WITHHRTDECLTBL", "withhrt.tbl"},
    {"HYPHENATEDTBL", "hyphenated.tbl"},   {"UNCONENTITIESTBL", "unconentities.tbl"},
    {"NOLEADZEROTBL", "noleadzero.tbl"},   {"ATTRIBUNCONTBL", "attribuncon.tbl"},
    {"SPECIALCHARTBL", "characters.tbl"}, {"CONVERT2ATTRIBTBL", "convert2attrib.tbl"},
    {"CONVERT2TAGTBL", "convert2tag.tbl"}, {"COMPCONTTBL", "compcont.tbl"},
    {"CITATIONVALTBL", "citationval.tbl"}, {"CHECKPAIRTBL", "checkpair.tbl"},
    {"CHECKPAIRCONTTBL", "checkpaircont.tbl"}, {"FILENAMECHECKTBL", "filenamecheck.tbl"},
    {"COUNTREFCHECKTBL", "countrefcheck.tbl"}, {"PCPDATACOMPARETBL", "pcpdatacompare.tbl"},
    {"IMAGEVALIDATIONTBL", "imagevalidation.tbl"},
};

} // namespace

Installation::Installation()
{
    for (const char* folder : {"work", "input", "output", "temp", "images", "lex", "userlex", "tables"})
        dir_.mkdir(folder);
    dir_.write("lex/en_US.dic", "1\r\nword\r\n");
    const QString paths = QStringLiteral("I/O PATHS");
    keys_ = {
        {paths, "WORKPATH", workPath()},     {paths, "INPUTPATH", inputPath()},
        {paths, "IMAGEPATH", root() + "images/"}, {paths, "OUTPUTPATH", outputPath()},
        {paths, "TEMPPATH", tempPath()},     {paths, "INPUTTYPE", "FILES"},
        {"SENTRY", "MAINLEXPATH", root() + "lex/"}, {"SENTRY", "USERLEXPATH", root() + "userlex/"},
        {"SENTRY", "MAINLEXFILES", "en_US.dic"},
    };
    for (const auto& table : kTables) {
        const QString path = writeTable(table[1], "Header | Columns\r\n");
        keys_.append({"SUPPORT FILES", table[0], path});
    }
    const QString settings = QStringLiteral("SETTINGS");
    keys_ += {
        {settings, "ATTRIBRANGESEPARATOR", "-"}, {settings, "IMAGEEXTENSION", "tif"},
        {settings, "MULTIHRTMAXCOUNT", "2"},     {settings, "CHECKMULTIHRT", "False"},
        {settings, "CHECKSPECIALCHAR", "TRUE"},  {settings, "CHECKEXCESSIMGFILES", "FALSE"},
        {settings, "CHECKFILENAME", "FALSE"},    {settings, "CHECKIMAGEZEROBYTES", "FALSE"},
        {settings, "VALIDFILENAMECHAR", "a-z"},  {settings, "INVALIDFILENAMECHARS", "#"},
    };
}

void Installation::set(const QString& key, const QString& value)
{
    for (qsizetype i = 0; i < keys_.size(); ++i) {
        if (keys_[i].name != key)
            continue;
        if (value.isNull())
            keys_.removeAt(i);
        else
            keys_[i].value = value;
        return;
    }
    if (!value.isNull())
        keys_.append({"I/O PATHS", key, value});
}

QString Installation::writeTable(const QString& name, const QByteArray& content) const
{
    return dir_.write("tables/" + name, content);
}

QString Installation::writeInput(const QString& name, const QByteArray& content) const
{
    return dir_.write("input/" + name, content);
}

QString Installation::iniText() const
{
    QString text = "[DEFAULT]\r\n";
    QString section;
    for (const Key& key : keys_) {
        if (key.section != section) {
            section = key.section;
            text += "[" + section + "]\r\n";
        }
        text += key.name + " = " + key.value + "\r\n";
    }
    return text + extra_;
}

void Installation::writeIni() const { dir_.write("Quorvane.INI", iniText().toUtf8()); }

Installation::Result Installation::run(const QStringList& arguments, Mode mode) const
{
    writeIni();
    QProcess process;
    process.setWorkingDirectory(root());
    QStringList options{"--app-dir", root()};
    if (mode == Mode::Headless) {
        options << "--headless";
    } else {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("DISPLAY", ":quorvane-test");
        environment.insert("QT_QPA_PLATFORM", "offscreen");
        process.setProcessEnvironment(environment);
    }
    process.start(QStringLiteral(QUORVANE_EXECUTABLE), options + arguments);
    Result result;
    if (!process.waitForFinished(120000))
        return result;
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.standardError = QString::fromUtf8(process.readAllStandardError());
    result.standardOutput = QString::fromUtf8(process.readAllStandardOutput());
    return result;
}
