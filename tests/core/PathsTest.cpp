#include "core/Paths.h"

#include "support/TempDir.h"

#include <QFile>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

TEST(IsSameFile, TellsOneFileFromAnother)
{
    TempDir dir;
    const QString file = dir.write("in/a.xml", "same bytes");
    const QString twin = dir.write("in/b.xml", "same bytes");
    dir.mkdir("links");
    ASSERT_TRUE(QFile::link(file, dir.path() + "links/soft.xml"));
    ASSERT_EQ(::link(QFile::encodeName(file).constData(),
                  QFile::encodeName(dir.path() + "links/hard.xml").constData()),
        0);

    struct Row {
        QString other;
        bool same;
    };
    const Row rows[] = {
        { file, true },
        { dir.path() + "links/../in/./a.xml", true },
        { dir.path() + "links/soft.xml", true },
        { dir.path() + "links/hard.xml", true },
        { twin, false }, // equal content is not the same file
        { dir.path() + "in/missing.xml", false },
        { dir.path() + "in", false },
    };
    for (const Row& row : rows) {
        EXPECT_EQ(IsSameFile(file, row.other), row.same) << qPrintable(row.other);
        EXPECT_EQ(IsSameFile(row.other, file), row.same) << qPrintable(row.other);
    }
    EXPECT_FALSE(IsSameFile(dir.path() + "in/missing.xml", dir.path() + "in/missing.xml"));
}

} // namespace
