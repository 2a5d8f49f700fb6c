#include "app/RunAborted.h"
#include "app/RunState.h"
#include "config/RoutineDeclTable.h"
#include "engine/Validator.h"
#include "support/RecordingOperator.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace {

// What the recording routines saw, one line per call: "ROUTINE tag (element)".
QStringList calls;

template <const char* Name>
void record(RunState& state)
{
    calls << QStringLiteral("%1 %2 (%3)").arg(QLatin1String(Name), state.context.tagText, state.contextElement);
}

constexpr char kFirst[] = "FIRST";
constexpr char kSecond[] = "SECOND";
constexpr char kParam[] = "PARAM";

void recordParameter(RunState& state) { calls << QStringLiteral("PARAM=%1").arg(state.routineParameter); }

const QList<RoutineEntry> kRecorders = {
    {QLatin1StringView("FIRST"), record<kFirst>},
    {QLatin1StringView("SECOND"), record<kSecond>},
    {QLatin1StringView("PARAM"), recordParameter},
};

struct Fixture {
    RecordingOperator op;
    RunState state{op};
    TempDir dir;

    explicit Fixture(const QByteArray& routineTable)
    {
        state.config.ActiveTableSet.file(SupportFile::RoutineDeclTbl) =
            dir.write("routine.tbl", "Tag | Routine | Parameter\r\n" + routineTable);
        EXPECT_TRUE(LoadRoutineDeclTable(state, state.config.ActiveTableSet));
    }

    QStringList validate(const QByteArray& input)
    {
        calls.clear();
        state.inputPath = dir.write("input.xml", input);
        ValidateFile(state, kRecorders);
        return calls;
    }
};

} // namespace

TEST(Validator, DispatchesDeclaredRowsForTheRightTags)
{
    struct Row {
        const char* name;
        QByteArray table;
        QByteArray input;
        QStringList expected;
    };
    const QList<Row> rows = {
        {"nested tags run the enclosing row; the end tag pops first",
         "<sec> | FIRST | x\r\n",
         "<sec><p>t</p></sec><p/>",
         {"FIRST <sec> (sec)", "FIRST <p> (sec)", "FIRST </p> (sec)"}},
        {"N/A rows run first, for every tag",
         "<sec> | SECOND | x\r\nN/A | FIRST | x\r\n",
         "<p><sec>t</sec>",
         {"FIRST <p> (N/A)", "FIRST <sec> (N/A)", "SECOND <sec> (sec)", "FIRST </sec> (N/A)"}},
        {"an empty tag of a declared element pops the row stack",
         "<sec> | FIRST | x\r\n<fig> | SECOND | x\r\n",
         "<sec><fig/><p>",
         {"FIRST <sec> (sec)"}},
        {"two rows for one tag: both pushed, the later current, one popped at the end",
         "<b> | FIRST | x\r\n<b> | SECOND | x\r\n",
         "<b>x</b><i/>",
         {"SECOND <b> (b)", "FIRST </b> (b)", "FIRST <i/> (b)"}},
        {"comments, declarations and processing instructions are skipped",
         "<a> | FIRST | x\r\n",
         "<?xml version=\"1.0\"?>\r\n<!-- c --><a>\r\n<!DOCTYPE x>",
         {"FIRST <a> (a)"}},
        {"routine names are compared upper-cased; unknown ones are skipped",
         "<a> | second | x\r\n | Nohrt | x\r\n | first | x\r\n",
         "<a>",
         {"SECOND <a> (a)", "FIRST <a> (a)"}},
        {"tags are found left to right over lines",
         "N/A | FIRST | x\r\n",
         "<a>x<b>\r\n\r\ny</b></a>\r\n",
         {"FIRST <a> (N/A)", "FIRST <b> (N/A)", "FIRST </b> (N/A)", "FIRST </a> (N/A)"}},
    };
    for (const Row& row : rows) {
        Fixture fixture(row.table);
        EXPECT_EQ(fixture.validate(row.input), row.expected) << row.name;
    }
}

TEST(Validator, HandsTheParameterUpperCased)
{
    Fixture fixture("<a> | PARAM | Err \r\n");
    EXPECT_EQ(fixture.validate("<a>"), QStringList{"PARAM=ERR"});
}

TEST(Validator, FillsTheContextOfEveryTag)
{
    Fixture fixture("N/A | FIRST | x\r\n");
    fixture.validate("<r>\r\nab <p id=\"1\">x</p>");
    const ValidationContext& last = fixture.state.previousTag;
    EXPECT_EQ(last.tagText, "</p>");
    EXPECT_EQ(last.tagType, 2);
    EXPECT_EQ(last.lineNumber, 2);
    EXPECT_EQ(last.linePosition, 15);
    EXPECT_EQ(last.filePosition, 15 + 5);
    EXPECT_EQ(last.lineText, "ab <p id=\"1\">x</p>");
    EXPECT_EQ(last.enclosingTag, "<p id=\"1\">");
    EXPECT_EQ(fixture.state.previousStartTag.tagText, "<p id=\"1\">");
    EXPECT_EQ(fixture.state.previousStartTag.enclosingTag, "<r>");
}

TEST(Validator, KeepsOpenTagsFromOneFileToTheNext)
{
    Fixture fixture("");
    fixture.validate("<a><b><c></b>");
    ASSERT_EQ(fixture.state.openTags.size(), 2);
    EXPECT_EQ(fixture.state.openTags[0].tagText, "<a>");
    EXPECT_EQ(fixture.state.openTags[1].tagText, "<c>");
    fixture.validate("</x></a>");
    ASSERT_EQ(fixture.state.openTags.size(), 1);
    EXPECT_EQ(fixture.state.openTags[0].tagText, "<c>");
}

TEST(Validator, SplitsOnlyAtCrLfAndCountsProgressPerLine)
{
    struct Row {
        QByteArray input;
        int lines;
        int progressMaximum;
    };
    const Row rows[] = {
        {"", 0, 1},
        {"<a>", 1, 1},
        {"<a>\r\n", 2, 1},
        {"a\nb\rc", 1, 1},
        {"a\r\nb\r\nc\r\nd", 4, 3},
    };
    for (const Row& row : rows) {
        Fixture fixture("");
        fixture.validate(row.input);
        EXPECT_EQ(fixture.state.lineCount(), row.lines) << row.input.constData();
        EXPECT_EQ(fixture.op.progressMaximum, row.progressMaximum) << row.input.constData();
        EXPECT_EQ(fixture.op.progressValues.size(), row.lines);
    }
}

TEST(Validator, UnexpectedFailureIsShownAndEndsTheRun)
{
    Fixture fixture("<a> | FIRST | x\r\n");
    const QList<RoutineEntry> failing = {
        {QLatin1StringView("FIRST"), [](RunState&) { throw std::runtime_error("disk gone"); }}};
    fixture.state.inputPath = fixture.dir.write("input.xml", "<a>");
    try {
        ValidateFile(fixture.state, failing);
        FAIL() << "the run should have ended";
    } catch (const RunAborted& aborted) {
        EXPECT_EQ(aborted.exitStatus(), 2);
    }
    ASSERT_EQ(fixture.op.messages.size(), 1);
    EXPECT_EQ(fixture.op.messages[0].text, "Error in Reading Input File!  -- Error: disk gone");
    EXPECT_EQ(fixture.op.messages[0].icon, MessageIcon::Warning);
}
