#include "app/gui/ProgressWindow.h"

#include "app/RunState.h"
#include "app/Startup.h"
#include "app/gui/FindingsModel.h"
#include "app/gui/FindingsViewer.h"
#include "app/gui/WindowOperator.h"
#include "support/Installation.h"

#include <QLabel>
#include <QPushButton>
#include <QtTest>

class ProgressWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // After a run with findings the window offers them before it ends; a
    // clean run, or a window nobody can see, ends as it always did.
    void theFindingsAreOfferedAfterARunWithFindings()
    {
        struct Row {
            const char* name;
            QByteArray input;
            int offerSeconds;
            QString offer; // empty: none
        };
        const Row rows[] = {
            { "findings", "<doc><fn fnref=\"1\">1 x</fn></doc>\r\n", 30,
                "a.xml: 1 error(s), 0 warning(s). Closing in 30 s." },
            { "clean", "<doc><fn fnref=\"1\">x</fn></doc>\r\n", 30, {} },
            { "nobody to offer to", "<doc><fn fnref=\"1\">1 x</fn></doc>\r\n", 0, {} },
        };
        for (const Row& row : rows) {
            Installation inst;
            inst.declareRoutines("<fn> | UNDELFNREF | E\r\n");
            const QString input = inst.writeInput("a.xml", row.input);
            inst.writeConfiguration();
            WindowOperator windowOperator;
            RunState state(windowOperator);
            state.ownInstallation().config.ApplicationPath = inst.appFolder() + "/";
            QCOMPARE(Main(state, input), RunMode::SingleFile);
            ProgressWindow window(state, windowOperator, row.offerSeconds);
            window.show();
            QTRY_VERIFY2(QFile::exists(inst.workPath() + "a.ERR"), row.name);
            auto* view = window.findChild<QPushButton*>("viewFindings");
            QTRY_COMPARE(view->isVisible(), !row.offer.isEmpty());
            if (row.offer.isEmpty())
                continue;
            QCOMPARE(window.findChild<QLabel*>("offer")->text(), row.offer);
            QTest::keyClick(view, Qt::Key_Return);
            QVERIFY(window.findingsViewer() && window.findingsViewer()->isVisible());
            QCOMPARE(window.findingsViewer()->model()->findingCount(), 1);
            QVERIFY(!window.isVisible());
            delete window.findingsViewer();
        }
    }
};

QTEST_MAIN(ProgressWindowTest)
#include "ProgressWindowTest.moc"
