#include "app/gui/BatchWindow.h"

#include "app/RunState.h"
#include "app/Startup.h"
#include "app/gui/FindingsModel.h"
#include "app/gui/FindingsViewer.h"
#include "app/gui/FolderChooser.h"
#include "support/Installation.h"
#include "support/RecordingOperator.h"

#include <QApplication>
#include <QCheckBox>
#include <QLineEdit>
#include <QListWidget>
#include <QLockFile>
#include <QProgressBar>
#include <QPushButton>
#include <QtTest>
#include <functional>
#include <memory>

namespace {

// Records message boxes like RecordingOperator and lets a test look at the
// window whenever the run yields or shows a message.
class WatchingOperator : public RecordingOperator {
public:
    void messageBox(const QString& text, const QString& title, MessageIcon icon) override
    {
        RecordingOperator::messageBox(text, title, icon);
        if (watch)
            watch();
    }
    void processEvents() override
    {
        RecordingOperator::processEvents();
        if (watch)
            watch();
    }
    std::function<void()> watch;
};

// One started-up installation and its batch window.
struct Session {
    explicit Session(const char* inputType, const QStringList& inputs)
    {
        inst.set("INPUTTYPE", inputType);
        inst.declareRoutines("<fn> | UNDELFNREF | E\r\n");
        for (const QString& name : inputs)
            inst.writeInput(name, "<doc><fn fnref=\"1\">1 x</fn></doc>\r\n");
        inst.writeConfiguration();
        state.ownInstallation().config.ApplicationPath = inst.appFolder() + "/";
        if (Main(state, QString()) != RunMode::Batch)
            qFatal("the installation did not start in batch mode");
        window = std::make_unique<BatchWindow>(state);
        window->show();
        if (!QTest::qWaitForWindowExposed(window.get()))
            qFatal("the batch window was not shown");
    }
    template <typename Widget> Widget* control(const char* name) const
    {
        auto* widget = window->findChild<Widget*>(QString::fromLatin1(name));
        if (!widget)
            qFatal("no control %s", name);
        return widget;
    }
    QListWidget* files() const { return control<QListWidget>("entryList"); }
    QCheckBox* selectAll() const { return control<QCheckBox>("selectAll"); }
    QStringList listed(bool selectedOnly = false) const
    {
        QStringList names;
        for (int i = 0; i < files()->count(); ++i) {
            if (!selectedOnly || files()->item(i)->isSelected())
                names << files()->item(i)->text();
        }
        return names;
    }
    QStringList selectedNames() const { return listed(true); }
    void clickEntry(QListWidget* list, int row, Qt::KeyboardModifiers modifiers = {}) const
    {
        QTest::mouseClick(
            list->viewport(), Qt::LeftButton, modifiers, list->visualItemRect(list->item(row)).center());
    }

    Installation inst;
    WatchingOperator ui;
    RunState state { ui };
    std::unique_ptr<BatchWindow> window;
};

} // namespace

class BatchWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void selectAllWorksBothWaysAndFollowsTheList()
    {
        Session s("FILES", { "a.xml", "b.xml", "c.xml" });
        QTest::mouseClick(s.selectAll(), Qt::LeftButton);
        QCOMPARE(s.selectedNames(), QStringList({ "a.xml", "b.xml", "c.xml" }));
        QTest::mouseClick(s.selectAll(), Qt::LeftButton);
        QCOMPARE(s.selectedNames(), QStringList());

        QTest::mouseClick(s.selectAll(), Qt::LeftButton);
        // A click on one entry leaves only that one: the box clears, and
        // clearing it must not take the click's selection away.
        s.clickEntry(s.files(), 1);
        QCOMPARE(s.selectedNames(), QStringList({ "b.xml" }));
        QVERIFY(!s.selectAll()->isChecked());
        s.clickEntry(s.files(), 0, Qt::ControlModifier);
        s.clickEntry(s.files(), 2, Qt::ControlModifier);
        QVERIFY(s.selectAll()->isChecked());
    }

    void searchSelectsEveryNameThatContainsTheText()
    {
        Session s("FILES", { "Chapter1.xml", "chapter2.xml", "index.xml" });
        s.clickEntry(s.files(), 2);
        QTest::keyClicks(s.control<QLineEdit>("searchBox"), "CHAP");
        QCOMPARE(s.selectedNames(), QStringList({ "Chapter1.xml", "chapter2.xml" }));
        QCOMPARE(s.files()->currentRow(), 0);

        s.clickEntry(s.files(), 2);
        QTest::keyClick(s.control<QLineEdit>("searchBox"), Qt::Key_Return);
        QCOMPARE(s.selectedNames(), QStringList({ "Chapter1.xml", "chapter2.xml" }));
        // Emptying the box keeps the selection.
        s.control<QLineEdit>("searchBox")->selectAll();
        QTest::keyClick(s.control<QLineEdit>("searchBox"), Qt::Key_Backspace);
        QCOMPARE(s.selectedNames(), QStringList({ "Chapter1.xml", "chapter2.xml" }));
    }

    void aBatchRunsWithItsInputsLockedAndProgressShown()
    {
        Session s("SGML", { "j1/a.xml", "j1/ch/b.xml", "j2/c.xml" });
        const QStringList locked { "drvInput", "dirInput", "entryList", "selectAll", "taskCodeBox",
            "tempPathBox", "outputPathBox", "processButton", "exitButton", "searchBox", "allocateButton" };
        int watched = 0;
        s.ui.watch = [&] {
            ++watched;
            for (const QString& name : locked)
                QVERIFY2(!s.control<QWidget>(name.toLatin1().constData())->isEnabled(), qPrintable(name));
            QVERIFY(s.control<QProgressBar>("pbar")->isVisible());
        };
        s.clickEntry(s.files(), 0);
        const QString otherWork = s.inst.root() + "otherwork/";
        QDir().mkpath(otherWork);
        // The working folder comes from the chooser, and the run takes it from the box.
        QTimer::singleShot(0, [&] {
            auto* chooser = dynamic_cast<FolderChooser*>(QApplication::activeModalWidget());
            QVERIFY(chooser);
            chooser->setCurrentFolder(otherWork);
            chooser->accept();
        });
        QTest::mouseClick(s.control<QPushButton>("chooseWorkPath"), Qt::LeftButton);
        QCOMPARE(s.control<QLineEdit>("tempPathBox")->text(), otherWork);
        QTest::keyClicks(s.control<QLineEdit>("taskCodeBox"), " T1 ");
        QTest::mouseClick(s.control<QPushButton>("processButton"), Qt::LeftButton);
        s.ui.watch = nullptr;

        QVERIFY(watched > 2);
        QCOMPARE(s.ui.messages.size(), 1);
        QCOMPARE(s.ui.messages[0].title, QString("Complete Process"));
        QCOMPARE(s.ui.messages[0].text, "Finish Processing! Please view the log file/s in " + otherWork);
        QVERIFY(QFile::exists(otherWork + "j1/a.ERR"));
        QVERIFY(QFile::exists(otherWork + "j1/ch/b.ERR"));
        QVERIFY(!QFile::exists(otherWork + "j2"));
        QCOMPARE(s.state.taskCode, QString("T1"));
        for (const QString& name : locked)
            QVERIFY2(s.control<QWidget>(name.toLatin1().constData())->isEnabled(), qPrintable(name));
        QVERIFY(!s.control<QProgressBar>("pbar")->isVisible());
        QCOMPARE(s.selectedNames(), QStringList({ "j1" }));
        // A batch with findings shows them.
        QVERIFY(s.window->findingsViewer() && s.window->findingsViewer()->isVisible());
        QCOMPARE(s.window->findingsViewer()->model()->findingCount(), 2);
        QVERIFY(s.control<QPushButton>("viewFindings")->isEnabled());
    }

    // The window starts in the configured folders, without progress shown.
    void startsInTheConfiguredFoldersAndEnterOpensTheHighlightedFolder()
    {
        Session s("FILES", { "top.xml", "sub/inner.xml" });
        QCOMPARE(s.window->folderPath(), s.inst.inputPath());
        QCOMPARE(s.listed(), QStringList({ "top.xml" }));
        QCOMPARE(s.control<QLineEdit>("tempPathBox")->text(), s.state.config.WorkPath);
        QCOMPARE(s.control<QLineEdit>("outputPathBox")->text(), s.state.config.OutputPath);
        QVERIFY(!s.control<QProgressBar>("pbar")->isVisible());
        auto* folders = s.control<QListWidget>("dirInput");
        QCOMPARE(folders->item(0)->text(), QString(".."));
        QCOMPARE(folders->item(1)->text(), QString("sub"));
        folders->setFocus();
        folders->setCurrentRow(1);
        QTest::keyClick(folders, Qt::Key_Return);
        QCOMPARE(s.window->folderPath(), s.inst.inputPath() + "sub/");
        QCOMPARE(s.listed(), QStringList({ "inner.xml" }));
        folders->setCurrentRow(0);
        QTest::keyClick(folders, Qt::Key_Return);
        QCOMPARE(s.window->folderPath(), s.inst.inputPath());
        QCOMPARE(s.listed(), QStringList({ "top.xml" }));
    }

    void theTemporaryFolderIsTheWindowsOnlyWhileABatchRuns()
    {
        Session s("FILES", { "a.xml" });
        const QString temp = s.inst.tempPath();
        // The destructor lets go of what it took.
        const auto othersMayTakeIt = [&] { return QLockFile(temp + "Quorvane_Temp.lock").tryLock(0); };
        QVERIFY(othersMayTakeIt());
        int checks = 0;
        bool heldWhileRunning = true;
        s.ui.watch = [&] {
            // Until the final box: the batch has let go by then.
            if (s.ui.messages.isEmpty()) {
                ++checks;
                heldWhileRunning
                    = heldWhileRunning && !othersMayTakeIt() && QDir(temp + "Quorvane_Temp").exists();
            }
        };
        s.clickEntry(s.files(), 0);
        QTest::mouseClick(s.control<QPushButton>("processButton"), Qt::LeftButton);
        s.ui.watch = nullptr;
        QVERIFY(checks > 0);
        QVERIFY(heldWhileRunning);
        QVERIFY(othersMayTakeIt());
        QVERIFY(!QDir(temp + "Quorvane_Temp").exists());
        QTest::mouseClick(s.control<QPushButton>("exitButton"), Qt::LeftButton);
        QVERIFY(QDir(temp).exists()); // the configured folder is the installation's
        QVERIFY(!s.window->isVisible());
    }
};

QTEST_MAIN(BatchWindowTest)
#include "BatchWindowTest.moc"
