#include "support/Installation.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <gtest/gtest.h>

// The windows are a module that the executable opens only for a window run:
// which libraries each kind of run loads, and what happens without the module.

namespace {

const QString kModuleFile = QStringLiteral("libquorvane_windows.so");

// An installation whose one input has one error, so that a run's exit status
// and summary say that it really validated.
struct OneErrorInstallation {
    OneErrorInstallation()
    {
        inst.writeSpecialCharacters("\"x\",\"Found x\",\"ERROR\",\"I\"\r\n");
        input = inst.writeInput("a.xml", "<a>x</a>\r\n");
        inst.writeConfiguration();
    }
    Installation inst;
    QString input;
};

struct LoggedRun {
    int exitCode = -1;
    QString standardError;
    QString standardOutput;
    QString loaderLog; // glibc's LD_DEBUG=libs lines: every library looked for and loaded
};

enum class Display { None, Offscreen, Unopenable };

// Runs EXECUTABLE --app-dir APP ARGUMENTS with the dynamic loader logging to
// files of its own, so that standard error stays the program's.
LoggedRun runLogged(
    const Installation& inst, const QString& executable, const QStringList& arguments, Display display)
{
    TempDir logs;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : { "DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM" })
        environment.remove(name);
    if (display == Display::Offscreen) {
        // A display is set and Qt is told to draw off screen: the program
        // wants a window and needs no X server for it.
        environment.insert("DISPLAY", ":quorvane-test");
        environment.insert("QT_QPA_PLATFORM", "offscreen");
    }
    if (display == Display::Unopenable)
        environment.insert("DISPLAY", ":quorvane-no-such-display");
    environment.insert("LD_DEBUG", "libs");
    environment.insert("LD_DEBUG_OUTPUT", logs.path() + "loader");
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(inst.root());
    process.start(executable, QStringList { "--app-dir", inst.appFolder() } + arguments);
    LoggedRun run;
    if (!process.waitForFinished(120000))
        return run;
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.standardError = QString::fromUtf8(process.readAllStandardError());
    run.standardOutput = QString::fromUtf8(process.readAllStandardOutput());
    for (const QString& name : QDir(logs.path()).entryList(QDir::Files))
        run.loaderLog += QString::fromUtf8(TempDir::read(logs.path() + name));
    return run;
}

// A copy of the executable in a folder of its own, without the module.
QString copyExecutable(const TempDir& dir)
{
    const QString copy = dir.path() + "quorvane";
    if (!QFile::copy(QStringLiteral(QUORVANE_EXECUTABLE), copy))
        return {};
    QFile::setPermissions(copy, QFile::permissions(QStringLiteral(QUORVANE_EXECUTABLE)));
    return copy;
}

} // namespace

TEST(WindowsModule, HeadlessRunLoadsNoWindowLibrary)
{
    OneErrorInstallation setup;
    struct Row {
        const char* name;
        QStringList options;
        Display display;
    };
    for (const Row& row : { Row { "--headless with a display", { "--headless" }, Display::Offscreen },
             Row { "no display", {}, Display::None } }) {
        const LoggedRun run = runLogged(setup.inst, QStringLiteral(QUORVANE_EXECUTABLE),
            row.options + QStringList { setup.input }, row.display);
        EXPECT_EQ(run.exitCode, 1) << row.name << run.standardError.toStdString();
        EXPECT_TRUE(run.standardOutput.startsWith("a.xml: 1 error(s), 0 warning(s)")) << row.name;
        EXPECT_EQ(run.standardError, "") << row.name;
        // The log names what a headless run needs, so its silence on the
        // window libraries means something.
        ASSERT_TRUE(run.loaderLog.contains("libQt6Core.so")) << row.name;
        for (const char* library : { "libQt6Widgets", "libQt6Gui", "libxcb", "libquorvane_windows" })
            EXPECT_FALSE(run.loaderLog.contains(QLatin1String(library))) << row.name << ": " << library;
    }
}

// Also when started through a link: the module is found beside the
// executable the link points to.
TEST(WindowsModule, WindowRunGoesThroughTheModule)
{
    OneErrorInstallation setup;
    TempDir elsewhere;
    const QString link = elsewhere.path() + "quorvane";
    ASSERT_TRUE(QFile::link(QFileInfo(QStringLiteral(QUORVANE_EXECUTABLE)).absoluteFilePath(), link));
    for (const QString& executable : { QStringLiteral(QUORVANE_EXECUTABLE), link }) {
        const LoggedRun run = runLogged(setup.inst, executable, { setup.input }, Display::Offscreen);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.standardError, "");
        // The window run answers a terminal only; a headless run would have
        // printed its summary here.
        EXPECT_EQ(run.standardOutput, "");
        EXPECT_TRUE(Installation::read(setup.inst.workPath() + "a.ERR").contains("Found x"));
        const QString moduleBeside
            = QFileInfo(QStringLiteral(QUORVANE_EXECUTABLE)).absolutePath() + "/" + kModuleFile;
        EXPECT_TRUE(run.loaderLog.contains(moduleBeside)) << run.loaderLog.left(2000).toStdString();
        EXPECT_TRUE(run.loaderLog.contains("libQt6Widgets.so"));
    }
}

TEST(WindowsModule, WithoutALoadableModuleTheRunSaysSoAndGoesOnHeadless)
{
    OneErrorInstallation setup;
    const LoggedRun headless = runLogged(
        setup.inst, QStringLiteral(QUORVANE_EXECUTABLE), { "--headless", setup.input }, Display::None);
    ASSERT_EQ(headless.exitCode, 1);

    struct Row {
        const char* name;
        QByteArray moduleContent; // null: no module file at all
    };
    for (const Row& row : { Row { "missing", QByteArray() }, Row { "not a library", "not a library\n" } }) {
        TempDir folder;
        const QString executable = copyExecutable(folder);
        ASSERT_FALSE(executable.isEmpty());
        if (!row.moduleContent.isNull())
            folder.write(kModuleFile, row.moduleContent);
        const LoggedRun run = runLogged(setup.inst, executable, { setup.input }, Display::Offscreen);

        const QString modulePath = QDir(folder.path()).absolutePath() + "/" + kModuleFile;
        // One line, with the loader's reason in it.
        const QRegularExpression said("^"
            + QRegularExpression::escape("quorvane: cannot load the windows from " + modulePath + " (")
            + ".+\\); running headless\n\\z");
        EXPECT_TRUE(said.match(run.standardError).hasMatch())
            << row.name << ": " << run.standardError.toStdString();
        // Then it is the headless run.
        EXPECT_EQ(run.exitCode, headless.exitCode) << row.name;
        EXPECT_EQ(run.standardOutput, headless.standardOutput) << row.name;
        EXPECT_FALSE(run.loaderLog.contains("libQt6Widgets")) << row.name;
    }
}

TEST(WindowsModule, DisplayThatCannotBeOpenedFallsBackToHeadless)
{
    OneErrorInstallation setup;
    const LoggedRun run
        = runLogged(setup.inst, QStringLiteral(QUORVANE_EXECUTABLE), { setup.input }, Display::Unopenable);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.standardError, "quorvane: the display cannot be opened; running headless\n");
    EXPECT_TRUE(run.standardOutput.startsWith("a.xml: 1 error(s), 0 warning(s)"));
}
