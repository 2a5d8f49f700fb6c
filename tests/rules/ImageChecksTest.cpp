#include "rules/ImageChecks.h"

#include "app/SingleFileRun.h"
#include "report/Reports.h"
#include "support/RuleFixture.h"

#include <QDir>
#include <gtest/gtest.h>

namespace {

const QByteArray kImageTable = "Tag | Attribute\r\n"
                               "graphic | xlink:href\r\n"
                               "<graphic> | href\r\n"
                               "inline-graphic | xlink:href\r\n"
                               "GRAPHIC | HREF\r\n"; // twice: still one finding per image

// A fixture whose input's image folder holds the given files (name, bytes).
struct ImageFixture {
    ImageFixture()
    {
        TableSet& set = rules.state.activeTables;
        set.ImageExtension = QStringLiteral("eps, .tif");
        set.CheckImageZeroBytes = Switch::On;
        rules.state.ownInstallation().config.ImagePath = rules.dir.mkdir("images");
        // The input lies in the fixture's folder: its name picks the image folder.
        folder = rules.state.config.ImagePath + QDir(rules.dir.path()).dirName() + "/";
        QDir().mkpath(folder);
        EXPECT_TRUE(rules.loadTable(SupportFile::ImageValidationTbl, kImageTable));
    }
    void deliver(const QString& name, const QByteArray& bytes)
    {
        QFile file(folder + name);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    RuleFixture rules { {} };
    QString folder;
};

} // namespace

TEST(ImageValidation, LooksEveryCalloutUpInTheInputsImageFolder)
{
    ImageFixture fixture;
    fixture.deliver("a.tif", "x");
    fixture.deliver("b.eps", "x");
    fixture.deliver("b.tif", "x");
    fixture.deliver("empty.tif", "");
    const QList<TableCase> cases = {
        { "found as written, by extension, with a folder part, tag case aside", {},
            "<graphic xlink:href=\"a.tif\"/><GRAPHIC href='b'/>\r\n<graphic href = \"art/a.tif\" >", {} },
        { "missing, the extensions tried in order", {}, "<p>x</p> <graphic href=\"c\"/>",
            { "1:10 E Image not found: c (.eps or .tif) | <graphic href=\"c\"/>" } },
        { "an empty file, a tag naming nothing, and one finding per listed attribute", {},
            "<graphic href=\"empty.tif\"/>\r\n<graphic id=\"g\" href=\"\"/>\r\n"
            "<graphic href=\"a.tif\" xlink:href=\"gone.tif\"/>",
            { "1:1 E Image file is empty: empty.tif | <graphic href=\"empty.tif\"/>",
                "2:1 E Image tag names no image in xlink:href or href | <graphic id=\"g\" href=\"\"/>",
                "3:1 E Image not found: gone.tif | <graphic href=\"a.tif\" xlink:href=\"gone.tif\"/>" } },
        { "end tags, declarations, other elements and attributes are no callouts", {},
            "<?graphic href=\"x\"?><!graphic href=\"x\"><graphic href=\"a.tif\"></graphic><fig href=\"x\"/>"
            "<inline-graphic href=\"x\" xlink:href=\"a.tif\"/>",
            {} },
        { "names are compared with their letter case", {}, "<graphic href=\"A.TIF\"/>",
            { "1:1 E Image not found: A.TIF | <graphic href=\"A.TIF\"/>" } },
    };
    for (const TableCase& c : cases)
        EXPECT_EQ(fixture.rules.run(c.input), c.expected) << c.name;

    // Without its switch an empty image passes.
    fixture.rules.state.activeTables.CheckImageZeroBytes = Switch::Off;
    EXPECT_TRUE(fixture.rules.run("<graphic href=\"empty.tif\"/>").isEmpty());
}

TEST(ImageValidation, TheRunReportsWhatNoFileCalledOutOnceAfterItsLastFile)
{
    ImageFixture fixture;
    for (const char* name : { "a.tif", "b.tif", "c.tif", ".hidden" })
        fixture.deliver(name, "x");
    RunState& state = fixture.rules.state;
    const auto runTwoFiles = [&](Switch crossCheck) {
        state.activeTables.CheckExcessImgFiles = crossCheck;
        StartImageCrossCheck(state.carriedStates);
        fixture.rules.run("<graphic href=\"a\"/>");
        fixture.rules.run("<graphic href=\"c.tif\"/><graphic href=\"missing\"/>");
        CloseReports(state);
        fixture.rules.sink.findings.clear();
    };
    runTwoFiles(Switch::Off);
    ReportImagesWithoutCallout(state); // switched off: nothing
    EXPECT_TRUE(fixture.rules.sink.findings.isEmpty());

    runTwoFiles(Switch::On);
    const std::int64_t errorsBefore = state.report.runErrorEntries;
    ReportImagesWithoutCallout(state);
    ASSERT_EQ(fixture.rules.sink.findings.size(), 1);
    const Finding& excess = fixture.rules.sink.findings[0];
    EXPECT_EQ(
        excess.message, "b.tif image does not have a corresponding callout tags in the file/s selected.");
    EXPECT_EQ(excess.data, fixture.folder + "b.tif");
    EXPECT_EQ(excess.routine, "CheckExcessImgFiles");
    EXPECT_EQ(state.report.runErrorEntries, errorsBefore + 1);

    // A new run starts its list afresh.
    StartImageCrossCheck(state.carriedStates);
    fixture.rules.sink.findings.clear();
    ReportImagesWithoutCallout(state);
    EXPECT_TRUE(fixture.rules.sink.findings.isEmpty());
}

TEST(ImageValidation, ConfigurationCheckNamesImageChecksWithoutImageTags)
{
    TableSet set;
    set.CheckExcessImgFiles = Switch::On;
    const QSet<QString> declared { "IMGNAMELENGTHEQUALITY", "TEXTVALIDITY" };
    const QStringList problems = ImageSetupProblems(set, declared);
    ASSERT_EQ(problems.size(), 2);
    EXPECT_TRUE(problems[0].startsWith("CHECKEXCESSIMGFILES is TRUE")) << problems[0].toStdString();
    EXPECT_TRUE(problems[1].startsWith("IMGNAMELENGTHEQUALITY is declared")) << problems[1].toStdString();
    auto table = std::make_shared<ImageValidationTable>();
    table->rows.append(ImageTagRow { "graphic", "href" });
    set.table(SupportFile::ImageValidationTbl) = table;
    EXPECT_TRUE(ImageSetupProblems(set, declared).isEmpty());
}
