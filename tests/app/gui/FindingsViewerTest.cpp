#include "app/gui/FindingsViewer.h"

#include "app/gui/FindingsModel.h"
#include "app/gui/SourceView.h"
#include "support/Installation.h"
#include "text/SourceText.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QScrollBar>
#include <QStringEncoder>
#include <QTableView>
#include <QtTest>

namespace {

template <typename Widget> Widget* control(const QWidget& window, const char* name)
{
    auto* widget = window.findChild<Widget*>(QString::fromLatin1(name));
    if (!widget)
        qFatal("no control %s", name);
    return widget;
}

void chooseItem(QComboBox* box, const QString& startingWith)
{
    for (int i = 0; i < box->count(); ++i) {
        if (box->itemText(i).startsWith(startingWith)) {
            box->setCurrentIndex(i);
            return;
        }
    }
    qFatal("no item %s", qPrintable(startingWith));
}

RecordedRun oneFileRun(const QString& inputPath, qint64 line, int column)
{
    RecordedRun run;
    run.files.push_back({ inputPath, QFileInfo(inputPath).fileName(),
        { { FindingKind::Error, line, column, "m", "d", "R" } } });
    return run;
}

// 400 numbered lines; line 300 runs on to 600 characters.
QString numberedText(const QString& lineEnd)
{
    QStringList lines;
    for (int i = 1; i <= 400; ++i)
        lines << QStringLiteral("line %1: \u00e9").arg(i) + (i == 300 ? QString(600, u'x') : QString());
    return lines.join(lineEnd) + lineEnd;
}

} // namespace

class FindingsViewerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // A real batch, read back from the working folder it left and from its
    // --json document: the same findings, counted and filtered alike.
    void aRunsFindingsLoadAndFilter()
    {
        Installation inst;
        inst.set("INPUTTYPE", "FILES");
        inst.declareRoutines("<fn> | UNDELFNREF | E\r\n");
        inst.writeSpecialCharacters("\"(space)(space)\",\"Double space "
                                    "found\",\"WARNING\",\"I\"\r\n");
        inst.writeInput("a.xml",
            "<doc>\r\n<fn fnref=\"1\">1 x</fn>\r\n<p>a  b</p>\r\n<fn fnref=\"2\">2 y</fn>\r\n</doc>\r\n");
        inst.writeInput("b.xml", "<doc><p>c  d</p></doc>\r\n");
        const QString json = inst.root() + "run.json";
        const Installation::Result result = inst.run({ "--batch", inst.inputPath(), "--json", json });
        QCOMPARE(result.exitCode, 1);

        for (const QString& source : { inst.workPath(), json }) {
            const RecordedRun run = ReadRecordedRun(source, { inst.inputPath(), "|xml|" });
            QCOMPARE(run.error, QString());
            FindingsViewer viewer(run, {}, source);
            viewer.show();
            FindingsModel* model = viewer.model();
            QCOMPARE(model->findingCount(), 4);
            QCOMPARE(model->countsByFile().size(), 2u);
            QCOMPARE(model->countsByFile()[0].name, QString("a.xml"));
            QCOMPARE(model->countsByFile()[0].errors, 2);
            QCOMPARE(model->countsByFile()[0].warnings, 1);
            QCOMPARE(model->countsByFile()[1].warnings, 1);
            QVERIFY(QFileInfo(model->run().files[1].inputPath).isFile());
            // Each file by line, though its errors and warnings come from two reports.
            QCOMPARE(model->findingAt(1).line, 3);

            chooseItem(control<QComboBox>(viewer, "kindFilter"), "Warnings");
            QCOMPARE(model->rowCount(), 2);
            chooseItem(control<QComboBox>(viewer, "fileFilter"), "b.xml");
            QCOMPARE(model->rowCount(), 1);
            QCOMPARE(model->findingAt(0).line, 1);
            chooseItem(control<QComboBox>(viewer, "kindFilter"), "Errors and");
            chooseItem(control<QComboBox>(viewer, "fileFilter"), "All files");
            QTest::keyClicks(control<QLineEdit>(viewer, "search"), "FNREF VALUE");
            QTest::keyClick(control<QLineEdit>(viewer, "search"), Qt::Key_Return);
            QCOMPARE(model->rowCount(), 2);
            QCOMPARE(control<QLabel>(viewer, "shownCount")->text(), QString("F&indings: 2 of 4"));

            control<QLineEdit>(viewer, "search")->clear();
            QTRY_COMPARE(model->rowCount(), 4);
            control<QTableView>(viewer, "findings")
                ->sortByColumn(FindingsModel::LineColumn, Qt::DescendingOrder);
            QCOMPARE(model->findingAt(0).line, 4);
            QCOMPARE(model->findingAt(3).line, 1);

            // Only the JSON names routines.
            auto* routines = control<QComboBox>(viewer, "routineFilter");
            QCOMPARE(routines->isEnabled(), source == json);
            if (source == json) {
                chooseItem(routines, "UNDELFNREF");
                QCOMPARE(model->rowCount(), 2);
                QCOMPARE(model->countsByRoutine().size(), 2u);
            }
        }
    }

    // The text shows the line the finding counts, in the input's encoding
    // and line ends, with the cursor on the finding's column.
    void selectingAFindingPutsTheCursorOnItsLineAndColumn()
    {
        struct Row {
            const char* name;
            QByteArray bytes;
            bool utf8Input;
            int column;
            const char* encoding;
            const char* lineEnds;
        };
        QStringEncoder utf16(QStringEncoder::Utf16LE);
        const QByteArray utf16Bytes = "\xFF\xFE" + QByteArray(utf16.encode(numberedText("\r\n")));
        QByteArray ansi = numberedText("\n").toLatin1();
        ansi.replace("line 2:", "li\rne 2:");
        const Row rows[] = {
            { "utf8.xml", numberedText("\n").toUtf8(), true, 7, "UTF-8", "LF" },
            { "utf16.xml", utf16Bytes, false, 550, "UTF-16 LE", "CR LF" },
            { "ansi.xml", ansi, false, 9, "Windows-1252", "LF and lone CR" },
        };
        TempDir dir;
        for (const Row& row : rows) {
            const QString path = dir.write(row.name, row.bytes);
            FindingsViewer viewer(oneFileRun(path, 300, row.column), { row.utf8Input, {}, {} }, path);
            viewer.show();
            SourceView* view = viewer.sourceView();
            QTRY_VERIFY(view->source());
            QCOMPARE(view->source()->encoding, QString(row.encoding));
            QCOMPARE(view->source()->lineEnds, QString(row.lineEnds));
            QCOMPARE(view->cursorLine(), 300);
            QCOMPARE(view->cursorColumn(), row.column);
            QVERIFY(view->source()->line(299).startsWith(QStringLiteral("line 300: \u00e9x")));
            QVERIFY(view->firstVisibleLine() <= 300 && 300 < view->firstVisibleLine() + view->visibleLines());
            const int left = view->horizontalScrollBar()->value();
            QVERIFY(left < row.column && (row.column < 100 || left > 0));
            // The lone CR of line 2 stays in its line.
            if (row.lineEnds == QByteArray("LF and lone CR"))
                QCOMPARE(view->source()->line(1).toString(), QString("li\rne 2: \u00e9"));
        }
    }

    // Enter opens the configured editor at the finding; a missing editor
    // says why in the status line.
    void enterOpensTheEditorProgramAtTheFinding()
    {
        TempDir dir;
        const QString input = dir.write("in put.xml", "<a/>\n");
        const QString recorded = dir.path() + "arguments.txt";
        dir.write("app/editor",
            "#!/bin/sh\nfor a in \"$@\"; do echo \"$a\"; done > '" + recorded.toUtf8() + ".tmp'\nmv '"
                + recorded.toUtf8() + ".tmp' '" + recorded.toUtf8() + "'\n");
        QFile::setPermissions(
            dir.path() + "app/editor", QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        struct Row {
            QString setting;
            QStringList arguments; // empty: no editor starts
            QString status;
        };
        const Row rows[] = {
            { "editor", { "+12", input }, "Opened" },
            { "editor --goto {file}:{line}:{column}", { "--goto", input + ":12:5" }, "Opened" },
            { "", {}, "Cannot open the editor: no EDITORPROGRAM is set" },
            { "ZEPH", {}, "Cannot open the editor: the EDITORPROGRAM \"ZEPH\" is neither in" },
        };
        for (const Row& row : rows) {
            QFile::remove(recorded);
            FindingsViewer viewer(
                oneFileRun(input, 12, 5), { false, row.setting, dir.path() + "app/" }, input);
            viewer.show();
            auto* table = control<QTableView>(viewer, "findings");
            table->setFocus();
            QTest::keyClick(table, Qt::Key_Return);
            QVERIFY2(control<QLabel>(viewer, "status")->text().startsWith(row.status),
                qPrintable(control<QLabel>(viewer, "status")->text()));
            if (row.arguments.isEmpty())
                continue;
            QTRY_VERIFY(QFile::exists(recorded));
            QCOMPARE(
                QString::fromUtf8(TempDir::read(recorded)).split('\n', Qt::SkipEmptyParts), row.arguments);
        }
    }
};

QTEST_MAIN(FindingsViewerTest)
#include "FindingsViewerTest.moc"
