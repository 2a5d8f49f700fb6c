#include "core/MoveFiles.h"

#include "app/RunState.h"
#include "support/RecordingOperator.h"
#include "support/TempDir.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

using namespace FolderServices;

class MoveFilesTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        state.ownInstallation().config.ApplicationPath = dir.mkdir("app");
        dir.write("app/tool.sh", "#!/bin/sh\n");
        dir.write("data/file.txt", "x");
        dir.mkdir("data/sub");
    }

    RecordedMessage shown(const QString& text, MessageIcon icon) const
    {
        return { text, kProgramTitle, icon };
    }

    TempDir dir;
    RecordingOperator ui;
    RunState state { ui };
};

const QString kPleaseCheck = QStringLiteral(" not found.\r\nPls. Check INI content.");

TEST_F(MoveFilesTest, CheckPathFindsFilesAndFolders)
{
    struct Row {
        QString path;
        std::int16_t kind;
        bool exists;
        QString pathAfter;
        bool warned;
    } rows[] = {
        { "tool.sh", File, true, dir.path() + "app/tool.sh", false },
        { "absent.sh", File, false, dir.path() + "app/absent.sh", false },
        { dir.path() + "data/sub", File, false, dir.path() + "data/sub", false },
        { dir.path() + "data/sub", Folder, true, dir.path() + "data/sub", false },
        { "sub", Folder, false, "sub", true },
        { dir.path() + "data/file.txt", Folder, false, dir.path() + "data/file.txt", true },
    };
    for (Row& row : rows) {
        ui.messages.clear();
        QString path = row.path;
        EXPECT_EQ(CheckPath(ui, state.config.ApplicationPath, path, row.kind), row.exists)
            << row.path.toStdString();
        EXPECT_EQ(path, row.pathAfter);
        const auto expected = row.warned ? QList { shown(row.pathAfter + kPleaseCheck, MessageIcon::Warning) }
                                         : QList<RecordedMessage> {};
        EXPECT_EQ(ui.messages, expected) << row.path.toStdString();
    }
}

TEST_F(MoveFilesTest, ReadAccessRefusedForAFolderThatCannotBeListed)
{
    if (::geteuid() == 0)
        GTEST_SKIP() << "root reads every folder whatever its permission bits";
    const QString locked = dir.mkdir("locked");
    QFile::setPermissions(locked, QFileDevice::WriteOwner);
    EXPECT_FALSE(CheckReadAccess(ui, locked));
    QFile::setPermissions(locked, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    EXPECT_EQ(ui.messages, QList { shown("No Read Access in " + locked, MessageIcon::Critical) });
}

TEST_F(MoveFilesTest, WriteAccessProbesAndCompletesTheFolder)
{
    QString folder = dir.path() + "data";
    // Another run's probe, even one that cannot be overwritten, is that run's
    // business: the probe of this process has a name of its own.
    dir.mkdir("data/quillph16.txt");
    EXPECT_TRUE(CheckWriteAccess(ui, folder));
    EXPECT_EQ(folder, dir.path() + "data/");
    EXPECT_EQ(QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
        QStringList({ "file.txt", "quillph16.txt", "sub" }));
    EXPECT_TRUE(ui.messages.isEmpty());
}

TEST_F(MoveFilesTest, WriteAccessOnReadOnlyFolderLeavesNoProbe)
{
    if (::geteuid() == 0)
        GTEST_SKIP() << "root writes into read-only folders; the /proc row covers the refusal";
    QString locked = dir.mkdir("locked");
    QFile::setPermissions(locked, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
    EXPECT_FALSE(CheckWriteAccess(ui, locked));
    QFile::setPermissions(locked, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    EXPECT_TRUE(QDir(locked).isEmpty());
    EXPECT_EQ(ui.messages, QList { shown("No Write Access in " + locked, MessageIcon::Critical) });
}

TEST_F(MoveFilesTest, RemoveFolderTreeRemovesReadOnlyContentAndPassesOverMissingFolders)
{
    const QString top = dir.mkdir("tree");
    const QString outside = dir.write("keep/precious.txt", "x");
    dir.write("tree/a.txt", "a");
    dir.write("tree/deep/deeper/b.txt", "b");
    QFile::link(dir.path() + "keep", top + "keep-link");
    QFile::setPermissions(top + "a.txt", QFileDevice::ReadOwner);
    QFile::setPermissions(top + "deep/deeper/b.txt", QFileDevice::ReadOwner);
    QFile::setPermissions(top + "deep/deeper", QFileDevice::ReadOwner | QFileDevice::ExeOwner);

    RemoveFolderTree(ui, dir.path() + "tree");
    EXPECT_FALSE(QFileInfo::exists(top));
    EXPECT_TRUE(QFileInfo::exists(outside));
    EXPECT_EQ(ui.eventCalls, 3); // once per folder, before it goes
    RemoveFolderTree(ui, dir.path() + "nothing"); // a missing folder is no fault
    EXPECT_TRUE(ui.messages.isEmpty());
}

} // namespace
