#include "config/SupportTables.h"

#include "app/RunState.h"
#include "config/ConfigurationLoading.h"
#include "config/RoutineDeclTable.h"
#include "config/TableReading.h"
#include "rules/RuleRegistry.h"
#include "support/RecordingOperator.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

namespace {

// "tag: ROUTINE=param, ROUTINE=param; tag: ..." for a loaded table.
QString describe(const RoutineDeclTable& table)
{
    QStringList rows;
    for (const RoutineDeclRow& row : table.rows) {
        QStringList calls;
        for (const RoutineCall& call : row.routines)
            calls << call.routineName + "=" + call.parameter;
        rows << row.tag + ": " + calls.join(", ");
    }
    return rows.join("; ");
}

} // namespace

TEST(RoutineDeclTable, LoadsRowsContinuationsAndTheIndex)
{
    struct Row {
        const char* name;
        QByteArray body; // after the header line
        QString rows;
        QString index;
    };
    const Row rows[] = {
        { "tags reduced to names, N/A kept as written",
            "<sec id=\"x\"> | TEXTVALIDITY | n/a \r\n | textvalidity | E\r\nn/a | NOHRT | N/A\r\n",
            "sec: TEXTVALIDITY=n/a, textvalidity=E; n/a: NOHRT=N/A", "[sec][n/a]" },
        { "rows of two or four fields and blank rows are dropped",
            "<a> | NOHRT\r\n<b> | NOHRT | x | y\r\n   \r\n<c> | WITHHRT | S\r\n", "c: WITHHRT=S", "[c]" },
        { "a continuation before any tag row belongs to nothing", " | NOHRT | x\r\n<a> | WITHHRT | y\r\n",
            "a: WITHHRT=y", "[a]" },
        { "LF line ends read the same", "<a> | NOHRT | x\n | UNDELFNREF | E\n", "a: NOHRT=x, UNDELFNREF=E",
            "[a]" },
    };
    for (const Row& row : rows) {
        RecordingOperator op;
        RunState state(op);
        TempDir dir;
        TableSet set;
        set.file(SupportFile::RoutineDeclTbl)
            = dir.write("r.tbl", "Tag | Routine | Parameter\r\n" + row.body);
        ASSERT_TRUE(LoadRoutineDeclTable({ state.ui, state.ownInstallation().config }, set, RoutineNamed))
            << row.name;
        const auto* table = set.loaded<RoutineDeclTable>(SupportFile::RoutineDeclTbl);
        ASSERT_NE(table, nullptr);
        EXPECT_EQ(describe(*table), row.rows) << row.name;
        EXPECT_EQ(table->index.text(), row.index) << row.name;
        EXPECT_TRUE(op.messages.isEmpty()) << row.name;
    }
}

// Every loader fails on a table it cannot read, a missing file or a folder,
// and says which one.
TEST(TableReading, EveryLoaderReportsAnUnreadableTable)
{
    TempDir dir;
    const QString folder = dir.mkdir("not-a-file");
    int loaders = 0;
    for (const TableLoaderEntry& entry : SupportTableLoaders()) {
        for (const QString& path : { dir.path() + "absent.tbl", folder }) {
            RecordingOperator op;
            RunState state(op);
            TableSet set;
            set.file(entry.file) = path;
            EXPECT_FALSE(entry.load({ state.ui, state.ownInstallation().config }, set))
                << static_cast<int>(entry.file);
            ASSERT_EQ(op.messages.size(), 1) << static_cast<int>(entry.file);
            EXPECT_TRUE(op.messages[0].text.startsWith("Error while reading " + path + "!  -- Error: "))
                << op.messages[0].text.toStdString();
        }
        ++loaders;
    }
    EXPECT_EQ(loaders, kSupportFileCount);
}

TEST(TableReading, SplitsRowsAndUnescapes)
{
    EXPECT_EQ(TableReading::RowsOf({ "header|x", " a | b ", "", "c|d|e", "f|" }, 2),
        (QList<QStringList> { { "a", "b" }, { "f", "" } }));
    EXPECT_EQ(TableReading::Unescape("a<space>b<hrt>c<pipe>d<SPACE>"), "a b\r\nc|d<SPACE>");
}

namespace {

// A default set whose nineteen tables all exist (header lines only).
struct SupportTables : ::testing::Test {
    RecordingOperator op;
    RunState state { op };
    TempDir dir;

    SupportTables()
    {
        for (int i = 0; i < kSupportFileCount; ++i)
            state.ownInstallation().config.DefaultTableSet.files[i]
                = dir.write(QString("t%1.tbl").arg(i), "Header\r\n");
    }
};

} // namespace

TEST_F(SupportTables, LoadsTheDefaultSetThenEveryTask)
{
    TableSet& defaults = state.ownInstallation().config.DefaultTableSet;
    defaults.file(SupportFile::RoutineDeclTbl) = dir.write("r.tbl", "h\r\n<a> | NOHRT | x\r\n");
    TaskTableSet task { "T1", {} };
    task.set.file(SupportFile::RoutineDeclTbl) = dir.write("r1.tbl", "h\r\n<b> | WITHHRT | y\r\n");
    state.ownInstallation().config.Tasks.append(task);

    ASSERT_TRUE(LoadAllSupportTables({ state.ui, state.ownInstallation().config }, SupportTableLoaders()));
    EXPECT_EQ(defaults.loaded<RoutineDeclTable>(SupportFile::RoutineDeclTbl)->index.text(), "[a]");
    const TableSet& taskSet = state.config.Tasks[0].set;
    EXPECT_EQ(taskSet.loaded<RoutineDeclTable>(SupportFile::RoutineDeclTbl)->index.text(), "[b]");
    // A task without its own table leaves it to the default set.
    EXPECT_EQ(taskSet.tables[static_cast<int>(SupportFile::SpecialCharTbl)], nullptr);
    for (int i = 0; i < kSupportFileCount; ++i)
        EXPECT_NE(defaults.tables[i], nullptr) << i;
}

TEST_F(SupportTables, ListsMissingTablesOfTheDefaultSetThenOfTheTasks)
{
    TableSet& defaults = state.ownInstallation().config.DefaultTableSet;
    defaults.file(SupportFile::NoHRTDeclTbl) = "gone1.tbl";
    defaults.file(SupportFile::ImageValidationTbl) = "gone2.tbl";
    TaskTableSet task { "T1", {} };
    task.set.file(SupportFile::SpecialCharTbl) = "gone3.tbl";
    state.ownInstallation().config.Tasks.append(task);

    EXPECT_FALSE(LoadAllSupportTables({ state.ui, state.ownInstallation().config }, SupportTableLoaders()));
    ASSERT_EQ(op.messages.size(), 1);
    EXPECT_EQ(op.messages[0].text, "Missing Support File/s:\r\n\r\ngone1.tbl\r\ngone2.tbl\r\ngone3.tbl");
    EXPECT_EQ(op.messages[0].icon, MessageIcon::Warning);
    EXPECT_EQ(defaults.tables[0], nullptr); // nothing is loaded after a failed check
}
