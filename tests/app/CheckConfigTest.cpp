#include "rules/TextValidity.h"
#include "support/Installation.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <gtest/gtest.h>

// --check-config through the real executable.

TEST(CheckConfig, ListsEveryFaultOfABrokenInstallationAndExitsWithOne)
{
    Installation inst;
    const QString routines = inst.writeTable("routinedecltbl.tbl",
        "Tag | Routine | Parameter\r\n"
        " | NOHRT | N/A\r\n" // a routine before any tag row
        "<p> | TEXTVALIDITY | N/A\r\n"
        " | NOSUCHROUTINE | N/A\r\n"
        "<fig> | WITHHRT\r\n"
        " | WITHHRT | N/A\r\n"
        "\r\n"
        " | HYPHENATEDWORDCHECK | E\r\n"
        " | UNCONENTITIES | N/A\r\n"
        " | NOLEADZERO | E\r\n"
        " | CONVERT2TAG | N/A\r\n"
        " | CONVERT2ATTRIB | N/A\r\n");
    // Codes the rules do not act on; CONVERT2ATTRIB takes its position code as written.
    const QString toTag = inst.writeTable("convert2tagtbl.tbl",
        "Tag | Action | Word | Severity | Position\r\n"
        "sup | delete | exp | E | s\r\n"
        "sup | MOVE | exp | E | X\r\n");
    const QString toAttribute = inst.writeTable("convert2attribtbl.tbl",
        "Attribute | Value | Action | Expanded | Severity | Where\r\n"
        "type | fig | Copy | Figure | W | B\r\n"
        "type | fig | DELETE | Figure | W | s\r\n");
    const QString validity = inst.writeTable("textvaliditytbl.tbl",
        "Condition | Value pattern | Tag | Split | Excluded | Operator | Number | Severity | Message\r\n"
        " | (a | p | N | | = | 1 | E | Unclosed group\r\n"
        " | a | p | N | | <= | 1 | E | A comparison the rule does not know\r\n"
        "(?<=x)y | a | p | N | | x | 0 | W | Lookbehind in the condition\r\n"
        " | a | p | N | x | 0 | W | Eight columns\r\n"
        " | <b> | p | N | | x | 0 | W | Fine: any other word forbids the pattern\r\n");
    const QString withHrt = inst.writeTable(
        "withhrtdecltbl.tbl", "Tag | Position | Severity\r\n<fig> | X | E\r\n<fig> | s | E\r\n");
    const QString hyphenated = inst.writeTable("hyphenatedtbl.tbl", "Words\r\nwell-known\r\nwellknown\r\n");
    const QString entities = inst.writeTable("unconentitiestbl.tbl",
        "Search string   Message\r\n"
        "&amp;#   E / "
            + QByteArray(61, 'm')
            + "\r\n"
              "lonely\r\n");
    const QString leadZero
        = inst.writeTable("noleadzerotbl.tbl", "Tag | Attribute | Delimiters\r\nxref | number\r\n");
    const QString characters = inst.writeTable("specialchartbl.tbl",
        "\"Pattern\",\"Message\",\"Severity\",\"Case\"\r\n"
        "\"[z-a]\",\"Backwards range\",\"ERROR\",\"I\"\r\n"
        "\"x\",\"Three fields\",\"ERROR\"\r\n");
    const QString noHrt
        = inst.writeTable("nohrtdecltbl.tbl", "Enclosing | Element | Severity\r\n<sec> | <title> | E\r\n");
    const QString fileNames = inst.writeTable("filenamechecktbl.tbl",
        "Pattern | Case | Stands for\r\n(jcs | C | unclosed\r\nabc | X | case code\r\nabc | C\r\n");
    inst.set("CHECKFILENAME", "TRUE");
    inst.set("VALIDFILENAMECHAR", "a-z<comma>xyz");
    const QString images = inst.writeTable("imagevalidationtbl.tbl",
        "Tag | Attribute\r\ngraphic | @href\r\ngraphic | href | x\r\n<graphic> | xlink:href\r\n");
    // The task's routine table declares nothing its own characters table
    // would need, and its switch keeps that table from ever being read.
    const QString taskRoutines
        = inst.writeTable("task-routine.tbl", "Tag | Routine | Parameter\r\n<fn> | UNDELFNREF | E\r\n");
    const QString taskCharacters
        = inst.writeTable("task-chars.tbl", "\"P\",\"M\",\"S\",\"C\"\r\n\"a\",\"b\",\"ERROR\",\"I\"\r\n");
    inst.appendIni("[I/O PATHS]\r\nKLMXINIFILE = " + inst.root() + "jobs.ini\r\n");
    inst.appendIni("[TASK]\r\nTASKCODE = T1\r\n[SUPPORT FILES]\r\nROUTINEDECLTBL = " + taskRoutines
        + "\r\nSPECIALCHARTBL = " + taskCharacters + "\r\nCONVERT2TAGTBL = " + inst.root()
        + "gone.tbl\r\n[SETTINGS]\r\nCHECKSPECIALCHAR = FALSE\r\n");

    const auto result = inst.run({ "--check-config" });
    EXPECT_EQ(result.exitCode, 1) << result.standardError.toStdString();
    const QStringList expected = {
        inst.appFolder() + "/Quorvane.INI: KLMXINIFILE names " + inst.root()
            + "jobs.ini, which does not exist",
        inst.root() + "gone.tbl: does not exist (named by CONVERT2TAGTBL)",
        routines + ":2: row dropped: a routine before any tag row",
        routines + ":4: unknown routine name NOSUCHROUTINE",
        routines + ":5: row dropped: 2 field(s) where the table has 3",
        validity + ":2: Invalid regular expression \"(a\": missing closing parenthesis at offset 2",
        validity
            + ":3: operator \"<=\" is none the rule knows (=, <, >, =>, =<, !=, dup, !dup); the row forbids "
              "its pattern",
        validity
            + ":4: Invalid regular expression \"(?<=x)y\": lookbehind assertions are not supported at "
              "offset 1",
        validity + ":5: row dropped: 8 field(s) where the table has 9",
        withHrt + ":2: position code \"X\" is none of S, E, B",
        hyphenated + ":3: entry dropped: no hyphen (-) in it",
        entities + ":2: message of 65 characters; the longest the report shows whole is 60",
        entities + ":3: row dropped: no blank between search string and message",
        leadZero + ":2: row dropped: 2 field(s) where the table has 3",
        characters
            + ":2: Invalid regular expression \"[z-a]\": range out of order in character class at offset 4",
        characters + ":3: row dropped: not four quoted fields",
        toAttribute + ":3: position code \"s\" is none of S, E, B",
        toTag + ":3: action \"MOVE\" is none of COPY, DELETE",
        toTag + ":3: position code \"X\" is none of S, E, B",
        fileNames + ":2: Invalid regular expression \"(jcs\": missing closing parenthesis at offset 4",
        fileNames + ":3: case code \"X\" is none of C, I",
        fileNames + ":4: row dropped: 2 field(s) where the table has 3",
        images
            + ":2: row dropped: attribute \"@href\" is not a bare attribute name such as href or xlink:href",
        images + ":3: row dropped: 3 field(s) where the table has 2",
        inst.appFolder()
            + "/Quorvane.INI: VALIDFILENAMECHAR piece \"xyz\" is neither one character nor a range such as "
              "a-z: it stands for each of its characters",
        noHrt + ": the table is never used: no routine declaration table names NOHRT",
        taskCharacters + ": the table is never used: CHECKSPECIALCHAR is FALSE",
    };
    EXPECT_EQ(result.standardOutput.split('\n', Qt::SkipEmptyParts), expected);
    EXPECT_EQ(result.standardError, "quorvane: 27 problem(s) found\n");
}

TEST(CheckConfig, AnswersZeroForACleanInstallationAndTwoWithoutAConfiguration)
{
    Installation inst;
    inst.writeTable("nohrtdecltbl.tbl", "Enclosing | Element | Severity\r\n<sec> | <title> | E\r\n");
    inst.declareRoutines("<sec> | NOHRT | N/A\r\n");
    const auto clean = inst.run({ "--check-config" });
    // What a clean check prints is in the golden run of the samples.
    EXPECT_EQ(clean.exitCode, 0) << clean.standardOutput.toStdString();
    // A table used by one task only is used.
    inst.declareRoutines("");
    const QString taskRoutines
        = inst.writeTable("t.tbl", "Tag | Routine | Parameter\r\n<sec> | NOHRT | N/A\r\n");
    inst.appendIni("[TASK]\r\nTASKCODE = T1\r\n[SUPPORT FILES]\r\nROUTINEDECLTBL = " + taskRoutines + "\r\n");
    EXPECT_EQ(inst.run({ "--check-config" }).exitCode, 0);
    EXPECT_EQ(inst.run({ "--check-config", "--task", "t1" }).exitCode, 0);
    const auto unknownTask = inst.run({ "--check-config", "--task", "T9" });
    EXPECT_EQ(unknownTask.exitCode, 1);
    EXPECT_TRUE(unknownTask.standardOutput.contains("no [TASK] section names the task code T9"));

    // The file-name check runs only when its switch says TRUE, so its rows are then never read.
    const QString names
        = inst.writeTable("filenamechecktbl.tbl", "Pattern | Case | Stands for\r\nabc | C | x\r\n");
    EXPECT_TRUE(inst.run({ "--check-config" })
                    .standardOutput.contains(names + ": the table is never used: CHECKFILENAME is not TRUE"));

    inst.set("WORKPATH", QString()); // a required key missing: nothing to check against
    const auto unreadable = inst.run({ "--check-config" });
    EXPECT_EQ(unreadable.exitCode, 2);
    EXPECT_EQ(unreadable.standardOutput, "");
}

// A night's batch holds the temporary folder for hours: the check neither
// waits for it nor clears what the batch has staged there.
TEST(CheckConfig, LeavesTheTemporaryFolderToTheRunThatHoldsIt)
{
    Installation inst;
    inst.run({ "--version" }); // writes the configuration
    QDir().mkpath(inst.tempPath() + "Quorvane_Temp");
    const QString staged = inst.tempPath() + "Quorvane_Temp/staged.xml";
    QFile(staged).open(QIODevice::WriteOnly);
    QLockFile held(inst.tempPath() + "Quorvane_Temp.lock");
    ASSERT_TRUE(held.tryLock(0));

    // Waiting for the lock would keep the check from ever answering.
    const auto result = inst.run({ "--check-config" });
    EXPECT_EQ(result.exitCode, 0) << result.standardError.toStdString();
    EXPECT_TRUE(QFileInfo::exists(staged));
}

TEST(CheckConfig, NamesTextValidityOperatorsThatWouldNotDoWhatTheyLookLike)
{
    struct Row {
        QString op;
        bool problem;
    };
    // "=", "<=" and a plain word: the broken installation above.
    const Row rows[] = {
        { "=<", false },
        { "dup", false },
        { "+1", false },
        { "@eval(=)$1+$2", false },
        { "(@eval)2+3=", false }, // the comparison may follow the parenthesis
        { "=<@now", false },
        { "", false }, // any other word forbids the pattern
        { "DUP", true },
        { "+", true },
        { "@eval$1+$2", true },
        { "@now", true },
    };
    for (const Row& row : rows)
        EXPECT_EQ(!TextValidityOperatorProblem(row.op).isEmpty(), row.problem) << row.op.toStdString();
}

// Only a start tag starts an element's routines: a routine declared on an
// element the input writes only as an empty tag never runs.
TEST(CheckConfig, WarnsOfRoutinesOnElementsTheInputWritesOnlyAsEmptyTags)
{
    Installation inst;
    inst.set("INPUTFILEMASK", "xml");
    const QString routines = inst.declareRoutines("<fig> | ATTRIBUNCONENTITY | N/A\r\n"
                                                  "\r\n"
                                                  "<graphic> | ATTRIBUNCONENTITY | N/A\r\n"
                                                  "<media> | ATTRIBUNCONENTITY | N/A\r\n"
                                                  "<label> | ATTRIBUNCONENTITY | N/A\r\n");
    // graphic only empty; media empty once and started once; label never
    // there; a start tag broken over two lines is no start tag to a run.
    const QString emptyOnly = inst.writeInput("a.xml",
        "<fig><graphic href=\"a.tif\"/><media/></fig>\r\n<fig><media\r\nhref=\"x\"></media><graphic\r\n"
        "href=\"b.tif\"></graphic></fig>\r\n");
    const QString started = inst.writeInput("b.xml", "<fig><media href=\"m\"></media></fig>\r\n");
    const auto warning = [&](const QString& line, const QString& tag, const QString& inputs) {
        return routines + ":" + line + ": the routines declared on " + tag + " never run: " + inputs
            + " holds it only as an empty tag <" + tag
            + "/>, which ends the enclosing element's routines instead of starting its own; declare them "
              "on the enclosing element\n";
    };

    const auto given = inst.run({ "--check-config", "--input", emptyOnly });
    EXPECT_EQ(given.exitCode, 1) << given.standardError.toStdString();
    EXPECT_EQ(given.standardOutput, warning("4", "graphic", emptyOnly) + warning("5", "media", emptyOnly));
    // Without --input the files below INPUTPATH count together: b.xml starts media.
    const auto sample = inst.run({ "--check-config" });
    EXPECT_EQ(sample.standardOutput,
        warning("4", "graphic", "the input (2 file(s) below " + inst.inputPath() + ")"));
    EXPECT_EQ(inst.run({ "--check-config", "--input", started }).exitCode, 0);

    const auto missing = inst.run({ "--check-config", "--input", inst.root() + "gone.xml" });
    EXPECT_EQ(missing.exitCode, 2);
    EXPECT_EQ(missing.standardError, "quorvane: cannot read the input " + inst.root() + "gone.xml\n");
}

// A routine whose table names an element it is not declared on, where that
// element has a row of its own, never sees it.
TEST(CheckConfig, NamesElementsACrossReferenceRoutineNeverSees)
{
    Installation inst;
    const QString routines = inst.declareRoutines("<xref> | CHECKCOUNTREFVALIDITY | N/A\r\n"
                                                  "<ref> | NOHRT | N/A\r\n"
                                                  "<p> | COMPCONT | N/A\r\n");
    inst.writeTable(
        "countrefchecktbl.tbl", "h\r\nxref | rid | ref | id | Y | E\r\nxref | rid | fig | id | N | E\r\n");
    inst.writeTable("compconttbl.tbl", "h\r\ntitle | p | EQUAL | W | M\r\n");
    inst.writeInput("a.xml", "<p>x</p>\r\n");
    const auto result = inst.run({ "--check-config" });
    EXPECT_EQ(result.exitCode, 1) << result.standardError.toStdString();
    // fig has no row (an enclosing element's may run it), title none either.
    EXPECT_EQ(result.standardOutput,
        routines
            + ":3: CHECKCOUNTREFVALIDITY never runs for ref: its table names ref, but the row declared for "
              "ref "
              "does not list it; list it there or on an N/A row\n");
    inst.declareRoutines("N/A | CHECKCOUNTREFVALIDITY | N/A\r\n<ref> | NOHRT | N/A\r\n"
                         "<p> | COMPCONT | N/A\r\n");
    EXPECT_EQ(inst.run({ "--check-config" }).exitCode, 0);
}
