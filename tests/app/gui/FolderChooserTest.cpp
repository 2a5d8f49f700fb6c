#include "app/gui/FolderChooser.h"

#include "support/TempDir.h"

#include <QApplication>
#include <QInputDialog>
#include <QPushButton>
#include <QtTest>
#include <unistd.h>

class FolderChooserTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Working and output folders must take the run's files; an input folder
    // only has to be there.
    void writeAccessIsCheckedBeforeAFolderIsAccepted()
    {
        TempDir dir;
        const QString writable = dir.mkdir("work");
        const QString readOnly = dir.mkdir("locked");
        QFile::setPermissions(readOnly, QFile::ReadOwner | QFile::ExeOwner);
        struct Row {
            QString folder;
            FolderChooser::Use use;
            QString refusal; // empty: accepted
        };
        QList<Row> rows = {
            { writable, FolderChooser::Use::Write, {} },
            { dir.path() + "missing", FolderChooser::Use::Write, dir.path() + "missing/ not found." },
            // Nobody, root included, can create a file in /proc.
            { "/proc", FolderChooser::Use::Write, "No Write Access in /proc/ (" },
            { "/proc", FolderChooser::Use::Read, {} },
        };
        // Root writes into read-only folders; the /proc row covers the refusal then.
        if (::geteuid() != 0)
            rows.append({ readOnly, FolderChooser::Use::Write,
                "No Write Access in " + readOnly + " (Permission denied)" });
        for (const Row& row : rows) {
            FolderChooser chooser("Working folder", dir.path(), row.use);
            QCOMPARE(chooser.currentFolder(), dir.path());
            chooser.setCurrentFolder(row.folder);
            chooser.accept();
            if (row.refusal.isEmpty()) {
                QCOMPARE(chooser.result(), int(QDialog::Accepted));
                QCOMPARE(chooser.folder(), QDir::cleanPath(row.folder) + "/");
                QCOMPARE(chooser.refusal(), QString());
            } else {
                QCOMPARE(chooser.result(), int(QDialog::Rejected));
                QVERIFY2(chooser.refusal().startsWith(row.refusal), qPrintable(chooser.refusal()));
                QCOMPARE(chooser.folder(), QString());
            }
        }
        QCOMPARE(QDir(writable).entryList(QDir::Files), QStringList());
        QFile::setPermissions(readOnly, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QCOMPARE(QDir(readOnly).entryList(QDir::Files), QStringList());
    }

    void newFolderIsMadeInTheCurrentFolderAndChosen()
    {
        TempDir dir;
        FolderChooser chooser("Output folder", dir.path(), FolderChooser::Use::Write);
        QTimer::singleShot(0, [] {
            auto* ask = dynamic_cast<QInputDialog*>(QApplication::activeModalWidget());
            QVERIFY(ask);
            ask->setTextValue("day 2");
            ask->accept();
        });
        QTest::mouseClick(chooser.findChild<QPushButton*>("newFolder"), Qt::LeftButton);
        QVERIFY(QFileInfo(dir.path() + "day 2").isDir());
        QCOMPARE(chooser.currentFolder(), dir.path() + "day 2/");
    }
};

QTEST_MAIN(FolderChooserTest)
#include "FolderChooserTest.moc"
