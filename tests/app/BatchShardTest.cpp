#include "support/Installation.h"

#include <QDirIterator>
#include <QRegularExpression>
#include <gtest/gtest.h>
#include <map>

// A batch split into shards and merged again, through the real executable.
namespace {

// A section left open across files (its title and paragraphs are checked
// against the enclosing section, so b.xml and c.xml report only when a.xml
// ran before them), a footnote error, and images of which one is called out
// by no file of the batch (the run's image cross-check).
void writeBatch(Installation& inst, bool columns)
{
    inst.set("INPUTTYPE", "FOLDERS");
    inst.set("CHECKEXCESSIMGFILES", "TRUE");
    inst.appendIni(QStringLiteral("[I/O PATHS]\r\nEDITORPROGRAM = ZEPH\r\nXYCOORDINATES = %1\r\n")
                       .arg(columns ? "yes" : "no"));
    inst.declareRoutines("<title> | NOHRT | N/A\r\n<p> | NOHRT | N/A\r\n<fn> | UNDELFNREF | "
                         "E\r\n");
    inst.writeTable("nohrtdecltbl.tbl",
        "Enclosing element | Element | Severity\r\n<sec> | <title> | E\r\n"
        "<sec> | <p> | W\r\n");
    inst.writeTable("imagevalidationtbl.tbl", "Tag | Attribute naming the image file\r\ngraphic | href\r\n");
    for (const char* image : { "f1.tif", "f2.tif", "f3.tif" }) {
        QDir().mkpath(inst.root() + "image/carry");
        QFile file(inst.root() + "image/carry/" + image);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write("II*") == 3);
    }
    inst.writeInput(
        "carry/a.xml", "<article>\r\n<sec>\r\n<p>An open\r\nsection.</p><graphic href=\"f1.tif\"/>\r\n");
    inst.writeInput("carry/b.xml", "<title>A title that\r\nbreaks</title>\r\n<p>More\r\ntext.</p>\r\n");
    inst.writeInput(
        "carry/c.xml", "<p>Still\r\nopen.</p><graphic href=\"f2.tif\"/>\r\n</sec>\r\n</article>\r\n");
    inst.writeInput("carry/d.xml", "<p>Outside,\r\nnow.</p>\r\n");
    inst.writeInput("last/z.xml", "<doc><fn fnref=\"1\">1 x</fn></doc>\r\n");
    inst.writeInput("last/zz.xml", "No tag at all.\r\n");
}

// Every file below the folder with its start and end times masked.
std::map<QString, QByteArray> treeOf(const QString& folder)
{
    static const QRegularExpression times(QStringLiteral(
        R"(\d\d:\d\d:\d\d [AP]M|\d\d/\d\d/\d\d|\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d+)?(Z|[+-]\d\d:\d\d)?)"));
    std::map<QString, QByteArray> tree;
    QDirIterator files(
        folder, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        tree[path.mid(folder.size())]
            = QString::fromUtf8(Installation::read(path)).replace(times, QStringLiteral("TIME")).toUtf8();
    }
    return tree;
}

// A batch run whose working and output trees and outputs all lie in the folder.
QStringList runArguments(const Installation& inst, const QString& folder)
{
    QDir().mkpath(folder + "work");
    QDir().mkpath(folder + "output");
    return { "--batch", inst.inputPath(), "--work", folder + "work", "--output", folder + "output", "--json",
        folder + "run.json", "--sarif", folder + "run.sarif", "--html", folder + "run.html" };
}

} // namespace

TEST(BatchShard, ShardsMergedWriteWhatTheWholeBatchWrites)
{
    for (const bool columns : { true, false }) {
        Installation inst;
        writeBatch(inst, columns);
        const QString whole = inst.root() + "whole/";
        const auto wholeRun = inst.run(runArguments(inst, whole));
        ASSERT_EQ(wholeRun.exitCode, 1) << wholeRun.standardError.toStdString();
        const std::map<QString, QByteArray> expected = treeOf(whole);
        // The batch carries its open section from a.xml into b.xml and c.xml,
        // and reports the image that nothing calls out once, after the run.
        ASSERT_TRUE(expected.at("work/carry/b.ERR").contains("<title>"));
        ASSERT_TRUE(expected.at("work/quorvane.LOG").contains("f3.tif image does not have"));
        ASSERT_FALSE(expected.at("work/quorvane.LOG").contains("f1.tif image"));

        for (const int count : { 1, 2, 5 }) {
            QStringList merge { "--merge", inst.root() + QStringLiteral("merged%1").arg(count) };
            for (int index = 1; index <= count; ++index) {
                const QString shard = inst.root() + QStringLiteral("shards%1/%2/").arg(count).arg(index);
                const auto shardRun = inst.run(
                    runArguments(inst, shard) << "--shard" << QStringLiteral("%1/%2").arg(index).arg(count));
                ASSERT_LE(shardRun.exitCode, 1) << shardRun.standardError.toStdString();
                // Given out of order: the records say which slice each holds.
                merge.insert(2, shard);
            }
            const auto merged = inst.run(merge);
            const QString out = merge[1] + "/";
            EXPECT_EQ(merged.exitCode, wholeRun.exitCode) << merged.standardError.toStdString();
            EXPECT_EQ(QString(merged.standardError).replace(out, whole), wholeRun.standardError);
            EXPECT_EQ(treeOf(out), expected) << "columns " << columns << ", " << count << " shard(s)";
        }
    }
}

TEST(BatchShard, MergeRefusesAnIncompleteOrMixedSetAndWritesNothing)
{
    Installation inst;
    writeBatch(inst, true);
    const QString root = inst.root();
    for (const QString shard : { "1/2", "2/2" })
        inst.run(runArguments(inst, root + "s" + shard.left(1) + "/") << "--shard" << shard);
    inst.run(runArguments(inst, root + "other/") << "--shard"
                                                 << "1/3");
    inst.writeInput("carry/e.xml", "<p/>\r\n");
    inst.run(runArguments(inst, root + "grown/") << "--shard"
                                                 << "2/2");
    struct Row {
        QStringList shards;
        QString says;
    };
    const Row rows[] = {
        { { "s1" }, "shard 2/2 is missing" },
        { { "s1", "s1" }, "shard 1/2 is given twice" },
        { { "s1", "other" }, "hold shards of different batches" },
        { { "s1", "grown" }, "hold shards of different batches" },
        { { "s1", "input" }, "no shard record below" },
    };
    for (const Row& row : rows) {
        QStringList arguments { "--merge", root + "out" };
        for (const QString& shard : row.shards)
            arguments << root + shard;
        const auto result = inst.run(arguments);
        EXPECT_EQ(result.exitCode, 2) << row.says.toStdString();
        EXPECT_TRUE(result.standardError.contains(row.says)) << result.standardError.toStdString();
        EXPECT_FALSE(QFileInfo::exists(root + "out"));
    }
}
