#include "engine/Validator.h"

#include "app/RunState.h"
#include "app/SingleFileRun.h"
#include "config/ConfigurationLoading.h"
#include "config/RoutineDeclTable.h"
#include "core/RunAborted.h"
#include "core/SharedText.h"
#include "engine/RuleContext.h"
#include "engine/TagWalk.h"
#include "support/RecordingOperator.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace {

// What the recording routines saw, one line per call: "ROUTINE tag (element)".
// They stand in for real routine names, which the table loader insists on.
QStringList calls;

template <const char* Name> void record(RuleContext& context)
{
    calls << QStringLiteral("%1 %2 (%3)").arg(QLatin1String(Name), context.tag.tagText, context.element);
}

constexpr char kFirst[] = "NOHRT";
constexpr char kSecond[] = "WITHHRT";

void recordParameter(RuleContext& context)
{
    calls << QStringLiteral("PARAM=%1").arg(context.parameter);
}

const RuleBook kRecorders { {
                                { QLatin1StringView("NOHRT"), record<kFirst> },
                                { QLatin1StringView("WITHHRT"), record<kSecond> },
                                { QLatin1StringView("COMPCONT"), recordParameter },
                            },
    {} };

struct Fixture {
    RecordingOperator op;
    RunState state { op };
    TempDir dir;

    explicit Fixture(const QByteArray& routineTable, const RuleBook& rules = kRecorders)
    {
        state.activeTables.file(SupportFile::RoutineDeclTbl)
            = dir.write("routine.tbl", "Tag | Routine | Parameter\r\n" + routineTable);
        EXPECT_TRUE(LoadRoutineDeclTable({ op, state.ownInstallation().config }, state.activeTables,
            [&](const QString& name) { return FindRoutine(rules, name); }));
    }

    QStringList validate(const QByteArray& input)
    {
        calls.clear();
        state.inputPath = dir.write("input.xml", input);
        ValidateRunFile(state, kRecorders);
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
        { "nested tags run the enclosing row; the end tag pops first", "<sec> | NOHRT | x\r\n",
            "<sec><p>t</p></sec><p/>", { "NOHRT <sec> (sec)", "NOHRT <p> (sec)", "NOHRT </p> (sec)" } },
        { "N/A rows run first, for every tag", "<sec> | WITHHRT | x\r\nN/A | NOHRT | x\r\n",
            "<p><sec>t</sec>",
            { "NOHRT <p> (N/A)", "NOHRT <sec> (N/A)", "WITHHRT <sec> (sec)", "NOHRT </sec> (N/A)" } },
        { "an empty tag of a declared element pops the row stack",
            "<sec> | NOHRT | x\r\n<fig> | WITHHRT | x\r\n", "<sec><fig/><p>", { "NOHRT <sec> (sec)" } },
        { "two rows for one tag: both pushed, the later current, one popped at the end",
            "<b> | NOHRT | x\r\n<b> | WITHHRT | x\r\n", "<b>x</b><i/>",
            { "WITHHRT <b> (b)", "NOHRT </b> (b)", "NOHRT <i/> (b)" } },
        { "comments, declarations and processing instructions are skipped", "<a> | NOHRT | x\r\n",
            "<?xml version=\"1.0\"?>\r\n<!-- c --><a>\r\n<!DOCTYPE x>", { "NOHRT <a> (a)" } },
        { "routine names are compared upper-cased", "<a> | withhrt | x\r\n | nohrt | x\r\n", "<a>",
            { "WITHHRT <a> (a)", "NOHRT <a> (a)" } },
        { "tags are found left to right over lines", "N/A | NOHRT | x\r\n", "<a>x<b>\r\n\r\ny</b></a>\r\n",
            { "NOHRT <a> (N/A)", "NOHRT <b> (N/A)", "NOHRT </b> (N/A)", "NOHRT </a> (N/A)" } },
        { "the parameter is handed upper-cased", "<a> | COMPCONT | Err \r\n", "<a>", { "PARAM=ERR" } },
    };
    for (const Row& row : rows) {
        Fixture fixture(row.table);
        EXPECT_EQ(fixture.validate(row.input), row.expected) << row.name;
    }
}

TEST(Validator, KeepsOpenTagsFromOneFileToTheNext)
{
    Fixture fixture("");
    fixture.validate("<a><b><c></b>");
    ASSERT_EQ(fixture.state.file.openTags.size(), 2);
    EXPECT_EQ(fixture.state.file.openTags[0].tagText, "<a>");
    EXPECT_EQ(fixture.state.file.openTags[1].tagText, "<c>");
    fixture.validate("</x></a>");
    ASSERT_EQ(fixture.state.file.openTags.size(), 1);
    EXPECT_EQ(fixture.state.file.openTags[0].tagText, "<c>");
}

TEST(Validator, CarriedRecordsDropTheirDocument)
{
    Fixture fixture("");
    fixture.validate("x\r\n<a><b>\r\n<c></b>");
    const QString first = fixture.state.file.wholeText;
    fixture.validate("</x>");
    const FileRecord& file = fixture.state.file;
    ASSERT_EQ(file.openTags.size(), 2);
    for (const ValidationContext* record :
        { &file.openTags[0], &file.openTags[1], &file.previousTag, &file.previousStartTag }) {
        EXPECT_FALSE(ReadsText(record->tagText, first)) << record->tagText.toStdString();
        EXPECT_FALSE(ReadsText(record->lineText, first)) << record->tagText.toStdString();
        EXPECT_FALSE(ReadsText(record->enclosingTag, first)) << record->tagText.toStdString();
    }
    EXPECT_EQ(file.openTags[0].lineText, "<a><b>");
    EXPECT_EQ(file.openTags[1].tagText, "<c>");
    EXPECT_EQ(file.openTags[1].enclosingTag, "<b>");
    EXPECT_EQ(file.openTags[1].lineText, "<c></b>");
    EXPECT_EQ(file.previousTag.tagText, "</x>");
    // A file without start tags leaves the last one of the file before.
    const auto lastStart = [&] {
        const ValidationContext& tag = file.previousStartTag;
        return QStringLiteral("%1 %2 in %3 %4:%5:%6 %7")
            .arg(tag.tagText, tag.tagName, tag.enclosingTag, QString::number(tag.lineNumber),
                QString::number(tag.linePosition), QString::number(tag.filePosition), tag.lineText);
    };
    EXPECT_EQ(lastStart(), "<c> c in <b> 3:1:12 <c></b>");
    // Its enclosing tag is one the earlier files left open.
    fixture.validate("y\r\n</d><f></f><e x>z");
    EXPECT_EQ(lastStart(), "<e x> e in <c> 2:12:15 </d><f></f><e x>z");
    ASSERT_EQ(file.openTags.size(), 3);
    EXPECT_EQ(file.openTags[2].enclosingTag, "<c>");
    EXPECT_EQ(file.openTags[2].lineText, "</d><f></f><e x>z");
}

// A routine may report a tag's text or line as they are; what the run keeps
// of a finding must not read the document, which the next file replaces.
TEST(Validator, FindingsKeepNoPartOfTheDocument)
{
    struct Kept : FindingReceiver {
        QList<Finding> findings;
        void fileFinding(const Finding& finding) override { findings << finding; }
        void runFinding(const Finding&) override { }
        void checkEnded(const QString&, const QString&) override { }
    } kept;
    const RuleBook reporter { { { QLatin1StringView("NOHRT"),
                                  [](RuleContext& rule) {
                                      rule.findings.report(Severity::Error, rule.tag.lineNumber,
                                          rule.tag.tagText, rule.tag.lineText, 0);
                                  } } },
        {} };
    Fixture fixture("<a> | NOHRT | x\r\n", reporter);
    RunState& state = fixture.state;
    state.inputPath = fixture.dir.write("input.xml", "x\r\ny <a>z</a>");
    const RunServices services = state.services();
    ValidateRunFile(state,
        { services.ui, services.installation, services.tables, services.spelling, services.carriedStates,
            kept, services.now },
        reporter);
    ASSERT_EQ(kept.findings.size(), 1);
    for (const Finding& finding : kept.findings) {
        EXPECT_FALSE(ReadsText(finding.message, fixture.state.file.wholeText))
            << finding.message.toStdString();
        EXPECT_FALSE(ReadsText(finding.data, fixture.state.file.wholeText)) << finding.data.toStdString();
        EXPECT_EQ(finding.data, "y <a>z</a>");
    }
    EXPECT_EQ(kept.findings[0].message, "<a>");
}

// The driver reads the name and kind of a found tag from its ends; the
// toolkit's general reading must agree for every tag the walk finds.
TEST(Validator, FoundTagPartsAgreeWithTheToolkit)
{
    const QString lines[] = {
        "<a><b c=\"d\">x</b></a>",
        "<a/><a /><a/b><a / ></a/></a b><x;y><x;y/></x;y><p;q r>",
        "</><//><a;><;a></ ><a\tb><a  b ><\"a\"><a b=\">\">",
        "<!-- c --><?pi x?><a!><a?></!a>",
        "< a><a<b><<c>>x</ d>",
    };
    ToolkitState state;
    TagScanner xml(state);
    for (const QString& line : lines) {
        int found = 0;
        WalkLineTagMatches(xml, line, [&](const TagMatch& tag) {
            ++found;
            const FoundTagParts parts = PartsOfFoundTag(tag.text);
            EXPECT_EQ(parts.name.toString(), xml.GetTagName(tag.text)) << tag.text.toString().toStdString();
            EXPECT_EQ(parts.kind, xml.GetTagType(tag.text)) << tag.text.toString().toStdString();
        });
        EXPECT_GT(found, 0) << line.toStdString();
    }
}

TEST(Validator, SplitsAtLineEndsAndCountsProgressPerLine)
{
    struct Row {
        QByteArray input;
        int lines;
        int progressMaximum;
    };
    const Row rows[] = {
        { "", 0, 1 },
        { "<a>\r\n", 2, 1 },
        { "a\rb\rc", 1, 1 }, // a lone CR is no line end
        { "a\nb\nc", 3, 2 }, // a lone LF is read as CR LF
        { "a\r\nb\r\nc\r\nd", 4, 3 },
    };
    for (const Row& row : rows) {
        Fixture fixture("");
        fixture.validate(row.input);
        EXPECT_EQ(fixture.state.file.lineCount(), row.lines) << row.input.constData();
        EXPECT_EQ(fixture.op.progressMaximum, row.progressMaximum) << row.input.constData();
        EXPECT_EQ(fixture.op.progressValues.size(), row.lines);
    }
}

TEST(Validator, UnexpectedFailureIsShownAndEndsTheRun)
{
    const RuleBook failing {
        { { QLatin1StringView("NOHRT"), +[](RuleContext&) { throw std::runtime_error("disk gone"); } } }, {}
    };
    Fixture fixture("<a> | NOHRT | x\r\n", failing);
    fixture.state.inputPath = fixture.dir.write("input.xml", "<a>");
    try {
        ValidateRunFile(fixture.state, failing);
        FAIL() << "the run should have ended";
    } catch (const RunAborted& aborted) {
        EXPECT_EQ(aborted.exitStatus(), 2);
    }
    ASSERT_EQ(fixture.op.messages.size(), 1);
    EXPECT_EQ(fixture.op.messages[0].text, "Error in Reading Input File!  -- Error: disk gone");
    EXPECT_EQ(fixture.op.messages[0].icon, MessageIcon::Warning);
}
