#include "config/ConfigurationFile.h"

#include "app/RunState.h"
#include "config/ConfigurationLoading.h"
#include "support/IniBuilder.h"
#include "support/RecordingOperator.h"
#include "support/TempDir.h"

#include <QDir>
#include <QFileInfo>
#include <functional>
#include <gtest/gtest.h>
#include <memory>

namespace {

// One read of the written file with a fresh run state.
struct ReadResult {
    bool ok = false;
    QList<RecordedMessage> messages;
    Configuration config;
};

ReadResult readFresh(const IniBuilder& builder, const QString& lineEnd = QStringLiteral("\r\n"))
{
    builder.write(lineEnd);
    RecordingOperator ui;
    RunState state(ui);
    state.ownInstallation().config.ApplicationPath = builder.appFolder();
    const bool ok = ReadConfigurationFile({ state.ui, state.ownInstallation().config }, state.tempFolder);
    return { ok, ui.messages, state.config };
}

class ConfigurationFileTest : public ::testing::Test {
protected:
    bool read()
    {
        state.ownInstallation().config.ApplicationPath = ini.appFolder();
        return ReadConfigurationFile({ state.ui, state.ownInstallation().config }, state.tempFolder);
    }

    TempDir dir;
    IniBuilder ini { dir };
    RecordingOperator ui;
    RunState state { ui };
};

TEST_F(ConfigurationFileTest, BaseConfigurationPassesAndPreparesTheFolders)
{
    ini.write();
    ASSERT_TRUE(read());
    EXPECT_TRUE(ui.messages.isEmpty());
    // Where a batch writes by default, and that no write probe is left in the
    // folders, the golden runs of the samples show.
    EXPECT_EQ(state.config.WorkPath, ini.folder("work") + "/");
    EXPECT_EQ(state.config.TempPath, ini.folder("temp") + "/");
    EXPECT_EQ(state.tempFolder.workingFolder, ini.folder("temp") + "/Quorvane_Temp/");
    EXPECT_TRUE(QFileInfo(state.tempFolder.workingFolder).isDir());
}

struct EffectRow {
    const char* name;
    std::function<void(IniBuilder&)> change;
    std::function<QString(const Configuration&)> field;
    QString expected;
};

QString joined(const QStringList& list)
{
    return list.join(QLatin1Char('#'));
}

TEST_F(ConfigurationFileTest, KeysAndValuesAreReadAsWritten)
{
    auto io = [](const QString& key, const QString& value) {
        return [=](IniBuilder& b) { b.append("[I/O PATHS]\r\n" + key + "=" + value + "\r\n"); };
    };
    auto settings = [](const QString& lines) {
        return [=](IniBuilder& b) { b.append("[SETTINGS]\r\n" + lines + "\r\n"); };
    };
    auto set = [](const Configuration& c) -> const TableSet& { return c.DefaultTableSet; };
    auto image = [=](const Configuration& c) { return set(c).ImageExtension; };
    auto multiHrt = [=](const Configuration& c) {
        const std::optional<Severity> severity = set(c).MultiHrtSeverity;
        return QString(set(c).CheckMultiHrt == Switch::On ? "on," : "off,")
            + (!severity                           ? ""
                    : *severity == Severity::Error ? "E"
                                                   : "W");
    };
    auto count = [=](const Configuration& c) { return QString::number(set(c).MultiHrtMaxCount); };
    const QString work = dir.path() + "work";
    const EffectRow rows[] = {
        { "lower-case key, blanks and tabs",
            [&](IniBuilder& b) {
                b.drop("WORKPATH").append("[I/O PATHS]\r\n  work\tpath \t=  " + work + "  \r\n");
            },
            [](const Configuration& c) { return c.WorkPath; }, work + "/" },
        { "mixed-case table key, second equals sign stays in the value", settings("ImageExtension==x"), image,
            "=x" },
        { "header in lower case with blanks",
            [](IniBuilder& b) { b.append("[SENTRY]\r\n   [settings]  \r\nIMAGEEXTENSION=.png\r\n"); }, image,
            ".png" },
        { "semicolon line is just an unknown key", settings(";IMAGEEXTENSION=.bmp"), image, ".tif" },
        { "keys under [DEFAULT] are ignored",
            [](IniBuilder& b) { b.append("[DEFAULT]\r\nIMAGEEXTENSION=.x\r\n"); }, image, ".tif" },
        { "last input mask wins",
            [&](IniBuilder& b) {
                io("INPUTFILEMASK", "*.sgm")(b);
                io("INPUTFILEMASK", "*.xml")(b);
                io("INPUTFILEMASK", "")(b);
            },
            [](const Configuration& c) { return c.InputFileMask; }, "|*.xml|" },
        { "coordinates on yes", io("XYCOORDINATES", "YES"),
            [](const Configuration& c) { return QString::number(c.XYCoordinates); }, "1" },
        { "true multi-hrt with option", settings("CHECKMULTIHRT=yes true | e"), multiHrt, "on,E" },
        { "three pieces leave the option", settings("CHECKMULTIHRT=true|5|6"), multiHrt, "on," },
        { "2.5 rounds to 2", settings("MULTIHRTMAXCOUNT=2.5"), count, "2" },
        { "3.5 rounds to 4", settings("MULTIHRTMAXCOUNT=+3.5"), count, "4" },
        { "range separators with spaces", settings("ATTRIBRANGESEPARATOR= - | <space>to<space> "),
            [=](const Configuration& c) { return joined(set(c).AttribRangeSeparators); }, "-# to " },
        // Nothing after "=" means "no separators", given on purpose.
        { "empty separator value", settings("ATTRIBRANGESEPARATOR="),
            [=](const Configuration& c) {
                return QString::number(set(c).AttribRangeSeparatorGiven)
                    + joined(set(c).AttribRangeSeparators);
            },
            "1" },
        { "character lists keep blanks and empty pieces", settings("VALIDFILENAMECHAR=a <comma><comma> b"),
            [=](const Configuration& c) { return joined(set(c).ValidFilenameChars); }, "a ## b" },
        { "singular invalid key is not a key", settings("INVALIDFILENAMECHAR=x"),
            [=](const Configuration& c) { return joined(set(c).InvalidFilenameChars); }, "##%" },
    };
    for (const EffectRow& row : rows) {
        IniBuilder builder = ini;
        row.change(builder);
        const ReadResult result = readFresh(builder);
        EXPECT_TRUE(result.ok) << row.name;
        EXPECT_TRUE(result.messages.isEmpty())
            << row.name << " " << result.messages.value(0).text.toStdString();
        EXPECT_EQ(row.field(result.config), row.expected) << row.name;
    }
}

TEST_F(ConfigurationFileTest, TextIsDecodedAsUtf8OrWindows1252)
{
    const QByteArray base = ini.text().toUtf8();
    struct Row {
        QByteArray line;
        QString expected;
    } rows[] = {
        { "[I/O PATHS]\r\nINPUTTYPE=caf\xc3\xa9\r\n", QStringLiteral("caf\u00e9") },
        { "[I/O PATHS]\r\nINPUTTYPE=caf\xe9 \x80\r\n", QStringLiteral("caf\u00e9 \u20ac") },
        // One Windows-1252 line elsewhere leaves a UTF-8 line as UTF-8, whatever the line ends.
        { "; r\xe9sum\xe9\r\n[I/O PATHS]\r\nINPUTTYPE=caf\xc3\xa9\r\n", QStringLiteral("caf\u00e9") },
    };
    for (const Row& row : rows) {
        ui.messages.clear();
        ini.writeBytes(base + row.line);
        EXPECT_TRUE(read());
        EXPECT_EQ(state.config.InputType, row.expected);
    }
}

TEST_F(ConfigurationFileTest, PluginsAreCompletedBesideTheProgram)
{
    const QString own = dir.write("app/before.sh", "#!/bin/sh\n");
    const QString elsewhere = dir.write("tools/after.sh", "#!/bin/sh\n");
    ini.append(
           "[PLUG-IN]\r\nINPUTPLUGIN= before.sh | | " + elsewhere + "\r\nOUTPUTPLUGIN=" + elsewhere + "\r\n")
        .write();
    ASSERT_TRUE(read());
    EXPECT_EQ(state.config.DefaultTableSet.InputPlugins, (QStringList { own, elsewhere }));
    EXPECT_EQ(state.config.DefaultTableSet.OutputPlugins, QStringList { elsewhere });
}

TEST_F(ConfigurationFileTest, UnusableTempFolderIsNotExtended)
{
    ini.set("TEMPPATH", "/proc").write();
    EXPECT_FALSE(read());
    EXPECT_EQ(state.config.TempPath, "/proc/");
    EXPECT_FALSE(state.tempFolder.held());
}

// Three tasks: T1 overrides a table, settings and plug-ins; T2 gives its
// settings before its support files; a [TASK] block without a code follows.
const char* const kTaskSections = "[TASK]\r\n"
                                  "TaskCode=T1\r\n"
                                  "[SUPPORT FILES]\r\n"
                                  "ROUTINEDECLTBL=t1decl.tbl\r\n"
                                  "[SETTINGS]\r\n"
                                  "IMAGEEXTENSION=.jpg\r\n"
                                  "MULTIHRTMAXCOUNT=9\r\n"
                                  "CHECKMULTIHRT=true|E\r\n"
                                  "VALIDFILENAMECHAR=x<comma>y\r\n"
                                  "ATTRIBRANGESEPARATOR=~\r\n"
                                  "[PLUG-IN]\r\n"
                                  "OUTPUTPLUGIN=after.sh\r\n"
                                  "[TASK]\r\n"
                                  "TASKCODE=T2\r\n"
                                  "[SETTINGS]\r\n"
                                  "VALIDFILENAMECHAR=q\r\n"
                                  "INVALIDFILENAMECHARS=r\r\n"
                                  "[SUPPORT FILES]\r\n"
                                  "TEXTVALIDITYTBL=t2text.tbl\r\n"
                                  "[TASK]\r\n"
                                  "[SETTINGS]\r\n"
                                  "IMAGEEXTENSION=.nocode\r\n"
                                  "CHECKSPECIALCHAR=nonsense\r\n"
                                  "[I/O PATHS]\r\n"
                                  "INPUTTYPE=XML\r\n"
                                  "[DEFAULT]\r\n"
                                  "[SETTINGS]\r\n"
                                  "CHECKFILENAME=true\r\n";

class TaskSetTest : public ConfigurationFileTest {
protected:
    void SetUp() override
    {
        dir.write("app/after.sh", "#!/bin/sh\n");
        ini.append(kTaskSections).write();
        ASSERT_TRUE(read());
        ASSERT_TRUE(ui.messages.isEmpty()) << ui.messages.value(0).text.toStdString();
        ASSERT_EQ(state.config.Tasks.size(), 2);
    }
};

TEST_F(TaskSetTest, TaskSectionsFillTheirOwnSets)
{
    const Configuration& config = state.config;
    const TableSet& t1 = config.Tasks[0].set;
    EXPECT_EQ(config.Tasks[0].TaskCode, "T1");
    EXPECT_EQ(t1.file(SupportFile::RoutineDeclTbl), "t1decl.tbl");
    EXPECT_TRUE(t1.file(SupportFile::TextValidityTbl).isEmpty());
    EXPECT_EQ(t1.ValidFilenameChars, (QStringList { "x", "y" }));
    EXPECT_EQ(t1.OutputPlugins, QStringList { dir.path() + "app/after.sh" });
    // Settings given before the task's support files are lost.
    EXPECT_TRUE(config.Tasks[1].set.ValidFilenameChars.isEmpty());
    EXPECT_TRUE(config.Tasks[1].set.InvalidFilenameChars.isEmpty());
    // The [TASK] block without a code touches no set; paths stay global in any mode.
    EXPECT_EQ(config.Tasks[1].set.ImageExtension, "");
    EXPECT_EQ(config.DefaultTableSet.ImageExtension, ".tif");
    EXPECT_EQ(config.InputType, "XML");
    // [DEFAULT] switches back to the default set.
    EXPECT_EQ(config.DefaultTableSet.CheckFilename, Switch::On);
    EXPECT_EQ(config.DefaultTableSet.ValidFilenameChars, (QStringList { "a", "b" }));
}

// The task's own tables over the default ones, and its file-name settings,
// are in the golden run of the figures task; the settings no sample task
// gives are here.
TEST_F(TaskSetTest, SelectedTaskOverlaysTheDefaultSet)
{
    const TableSet active = TableSetForTask(state.ui, state.config, "t1");
    EXPECT_EQ(active.MultiHrtSeverity, Severity::Error);
    EXPECT_EQ(active.CheckSpecialChar, Switch::On);
    EXPECT_EQ(active.InvalidFilenameChars, (QStringList { "#", "%" }));
    EXPECT_EQ(active.OutputPlugins.size(), 1);
}

TEST_F(TaskSetTest, UnknownOrEmptyTaskCodeKeepsTheDefaultSet)
{
    for (const QString code : { "", "T3", "T1 " }) {
        const TableSet active = TableSetForTask(state.ui, state.config, code);
        EXPECT_EQ(active.file(SupportFile::RoutineDeclTbl), "routinedecltbl.tbl") << code.toStdString();
        EXPECT_EQ(active.ImageExtension, ".tif") << code.toStdString();
        EXPECT_EQ(active.MultiHrtMaxCount, 3) << code.toStdString();
    }
}

} // namespace
