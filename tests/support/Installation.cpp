#include "support/Installation.h"

#include <QTemporaryDir>

namespace {

// No test keeps spelling answers in the user's own cache: runs in this
// process and the programs it starts keep them in a folder of their own,
// removed when the tests end.
struct TestCacheFolder {
    QTemporaryDir folder;
    TestCacheFolder() { qputenv("QUORVANE_CACHE_DIR", folder.path().toLocal8Bit()); }
};
const TestCacheFolder kTestCacheFolder;

} // namespace

Installation::Installation()
{
    dir_.mkdir("tables");
    for (const QString& key : IniBuilder::tableKeys())
        ini_.set(key, writeTable(key.toLower() + ".tbl", "Header | Columns\r\n"));
}

void Installation::set(const QString& key, const QString& value)
{
    if (value.isNull())
        ini_.drop(key);
    else
        ini_.set(key, value);
}

QString Installation::writeTable(const QString& name, const QByteArray& content) const
{
    return dir_.write("tables/" + name, content);
}

QString Installation::writeInput(const QString& name, const QByteArray& content) const
{
    return dir_.write("input/" + name, content);
}

QString Installation::writeScript(const QString& name, const QByteArray& body) const
{
    const QString path = dir_.write(name, "#!/bin/sh\n" + body);
    QFile::setPermissions(path, QFile::permissions(path) | QFileDevice::ExeOwner);
    return path;
}

Installation::Result Installation::run(const QStringList& arguments, Mode mode) const
{
    ini_.write();
    QProcess process;
    process.setWorkingDirectory(root());
    QStringList options { "--app-dir", ini_.appFolder() };
    if (mode == Mode::Headless) {
        options << "--headless";
    } else {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("DISPLAY", ":quorvane-test");
        environment.insert("QT_QPA_PLATFORM", "offscreen");
        process.setProcessEnvironment(environment);
    }
    if (limits_.isEmpty())
        process.start(QStringLiteral(QUORVANE_EXECUTABLE), options + arguments);
    else
        process.start("/bin/bash",
            QStringList { "-c", "ulimit " + limits_ + " && exec \"$0\" \"$@\"", QUORVANE_EXECUTABLE }
                + options + arguments);
    Result result;
    if (!process.waitForFinished(120000))
        return result;
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.standardError = QString::fromUtf8(process.readAllStandardError());
    result.standardOutput = QString::fromUtf8(process.readAllStandardOutput());
    return result;
}
