#include "support/Installation.h"

#include <gtest/gtest.h>

// Start-up refusals: each ends the run with its message and exit status 2,
// and leaves no --json, --sarif or --html of an earlier run to pass for its own.
TEST(Startup, RefusesWithItsMessageAndStatusTwo)
{
    struct Row {
        const char* name;
        std::function<void(Installation&)> prepare;
        QStringList arguments;
        QString expectedStderr; // whole standard error, %ROOT% is the installation
    };
    const QList<Row> rows = {
        { "missing input", [](Installation&) {}, { "%ROOT%input/none.xml|T1" },
            "[critical] Quorvane: %ROOT%input/none.xml not found!\n" },
        { "folder as input", [](Installation&) {}, { "%ROOT%input" },
            "[critical] Quorvane: %ROOT%input not found!\n" },
        { "missing tables",
            [](Installation& inst) {
                inst.set("ROUTINEDECLTBL", inst.root() + "tables/none.tbl");
                inst.set("SPECIALCHARTBL", inst.root() + "tables/gone.tbl");
            },
            { "x.xml" },
            "[warning] Quorvane: Missing Support File/s:\n%ROOT%tables/none.tbl\n%ROOT%tables/gone.tbl\n" },
        { "missing table that is not the first",
            [](Installation& inst) { inst.set("CONVERT2TAGTBL", inst.root() + "tables/gone.tbl"); },
            { "x.xml" }, "[warning] Quorvane: Missing Support File/s:\n\n%ROOT%tables/gone.tbl\n" },
        // Reading goes on past a bad value, but the missing-field check then does not run.
        { "bad switch values are all shown before the run is refused",
            [](Installation& inst) {
                inst.set("CHECKSPECIALCHAR", "maybe");
                inst.set("MULTIHRTMAXCOUNT", "two");
                inst.set("WORKPATH", QString());
            },
            { "x.xml" },
            "[warning] Quorvane: MultiHrtMaxCount value in INI file should be numeric\n"
            "[warning] Quorvane: Invalid CheckSpecialChar value in INI file\n" },
        { "bad routine name",
            [](Installation& inst) {
                inst.declareRoutines("<p> | TEXTVALIDITY | N/A\r\n"
                                     " | NOSUCHCHECK | E\r\n");
            },
            { "x.xml" },
            "[warning] Quorvane: Invalid Routine Name: NOSUCHCHECK\nPlease check "
            "%ROOT%tables/routinedecltbl.tbl\n" },
        // A lexicon the engine would load as no words at all.
        { "empty dictionary", [](Installation& inst) { inst.writeTable("../lex/main.dic", ""); }, { "x.xml" },
            "[critical] Quorvane: Error while reading %ROOT%lex/main.dic!  -- Error: the dictionary is "
            "empty\n" },
        { "dictionary without its word count",
            [](Installation& inst) {
                inst.writeTable("../lex/main.aff", "SET UTF-8\n");
                inst.writeTable("../lex/main.dic", "word\n");
            },
            { "x.xml" },
            "[critical] Quorvane: Error while reading %ROOT%lex/main.dic!  -- Error: the dictionary does not "
            "start with its word count\n" },
        { "a file where the input's output folder belongs",
            [](Installation& inst) {
                inst.writeInput("Batch7/a.xml", "<a/>\r\n");
                inst.writeInput("../output/Batch7", "");
            },
            { "%ROOT%input/Batch7/a.xml" },
            "quorvane: cannot create folder %ROOT%output//Batch7: File exists\n" },
        { "no input at all", [](Installation&) {}, {},
            "quorvane: no input file given, and the batch window needs a display.\nGive \"INPUT|TASK\" to "
            "validate one file, or --batch FOLDER; see quorvane --help.\n" },
        { "missing batch folder", [](Installation&) {}, { "--batch", "%ROOT%none" },
            "[critical] Quorvane: %ROOT%none not found!\n" },
        { "missing batch entry", [](Installation&) {}, { "--batch", "%ROOT%input", "j9" },
            "[critical] Quorvane: j9 not found in %ROOT%input\n" },
        { "missing output folder of a batch", [](Installation&) {},
            { "--batch", "%ROOT%", "--output", "%ROOT%nowhere", "input" },
            "[critical] Quorvane: %ROOT%nowhere/ not found.\n" },
        { "missing working folder of a batch", [](Installation&) {},
            { "--batch", "%ROOT%", "--work", "%ROOT%nowhere", "input" },
            "[critical] Quorvane: %ROOT%nowhere/ not found.\n" },
    };
    for (const Row& row : rows) {
        Installation inst;
        inst.writeInput("x.xml", "<a/>\r\n");
        row.prepare(inst);
        QStringList arguments;
        QStringList earlierOutputs;
        for (const char* option : { "--json", "--sarif", "--html" }) {
            earlierOutputs << inst.writeInput(QStringLiteral("../earlier%1").arg(option), "an earlier run's");
            arguments << option << earlierOutputs.last();
        }
        for (const QString& argument : row.arguments)
            arguments << QString(argument).replace("%ROOT%", inst.root());
        const auto result = inst.run(arguments);
        EXPECT_EQ(result.exitCode, 2) << row.name;
        EXPECT_EQ(result.standardError, QString(row.expectedStderr).replace("%ROOT%", inst.root()))
            << row.name;
        for (const QString& output : earlierOutputs)
            EXPECT_FALSE(QFile::exists(output)) << row.name << " " << output.toStdString();
    }
}

TEST(Startup, HelpAndVersionNeedNoInstallation)
{
    for (const char* option : { "--help", "--version" }) {
        QProcess process;
        process.start(QStringLiteral(QUORVANE_EXECUTABLE), { option });
        ASSERT_TRUE(process.waitForFinished(60000));
        EXPECT_EQ(process.exitCode(), 0) << option;
        EXPECT_FALSE(process.readAllStandardOutput().isEmpty()) << option;
    }
}
