#include "engine/OpenTagPass.h"

#include "Corpus.h"
#include "app/RunState.h"
#include "app/SingleFileRun.h"
#include "engine/Validator.h"
#include "support/RecordingOperator.h"
#include "support/TempDir.h"

#include <QDirIterator>
#include <QRandomGenerator>
#include <gtest/gtest.h>

namespace {

// Pieces of tag soup: what converted text gets wrong, and what the tag
// search must not take for a tag.
const char* const kPieces[] = { "<sec>", "</sec>", "<SEC>", "<p>", "</p>", "</p >", "<p x=\"1>2\">", "<fig/>",
    "<b;x>", "</b;y>", "<!-- <p> -->", "<?pi <sec>?>", "<!DOCTYPE a>", "<", ">", "< p>", "<>", "</>", "\"",
    "text ", "\r\n", "\n", "\r", "<title>", "</title>", "<i>", "</i>", "\xC3\xA9", "</sec></sec>" };

QByteArray tagSoup(QRandomGenerator& random)
{
    QByteArray text;
    const int pieces = random.bounded(1, 80);
    for (int i = 0; i < pieces; ++i)
        text += kPieces[random.bounded(int(std::size(kPieces)))];
    return text;
}

QStringList described(const QList<ValidationContext>& openTags)
{
    QStringList lines;
    for (const ValidationContext& c : openTags)
        lines << QStringLiteral("%1|%2|%3|%4|%5:%6:%7|%8")
                     .arg(c.tagText, c.tagName, c.enclosingTag)
                     .arg(int(c.tagType))
                     .arg(c.filePosition)
                     .arg(c.linePosition)
                     .arg(c.lineNumber)
                     .arg(c.lineText);
    return lines;
}

// The driver itself, without a routine, validating the files one after
// another as a batch does, against the pass's prediction of each file's
// start list.
void expectPassAgreesWithDriver(const QStringList& paths)
{
    RecordingOperator ui;
    RunState state(ui);
    state.ownInstallation().config.Utf8Input = true;
    const std::vector<OpenTagEffect> effects = OpenTagEffectsOfFiles(paths, true, 2);
    QList<ValidationContext> predicted;
    // A worker's list, carried from file to file with its count by name.
    QList<ValidationContext> kept;
    OpenTagNames keptNames;
    ToolkitState keptToolkit;
    for (qsizetype i = 0; i < paths.size(); ++i) {
        state.inputPath = paths[i];
        ValidateRunFile(state, RuleBook {});
        ApplyOpenTagEffect(predicted, effects[std::size_t(i)]);
        ASSERT_EQ(described(predicted), described(state.file.openTags)) << paths[i].toStdString();
        ApplyOpenTagEffect(kept, keptNames, keptToolkit, effects[std::size_t(i)]);
        ASSERT_EQ(described(kept), described(state.file.openTags)) << paths[i].toStdString();
        // The numbers kept beside each list name its tags as the list does.
        for (const auto& [list, names, toolkit] : { std::tuple { &kept, &keptNames, &keptToolkit },
                 std::tuple { &state.file.openTags, &state.file.openTagNames, &state.file.toolkit } }) {
            ASSERT_EQ(names->size(), std::size_t(list->size())) << paths[i].toStdString();
            for (qsizetype k = 0; k < list->size(); ++k)
                ASSERT_EQ(names->idAt(std::size_t(k)), toolkit->knownNameId((*list)[k].tagName));
        }
    }
    EXPECT_EQ(described(OpenTagsAfterFiles(paths, true, {}, 1)), described(state.file.openTags));
}

} // namespace

TEST(OpenTagPass, PredictsWhatTheDriverLeavesOpenForTheSampleAndGeneratedFiles)
{
    QStringList paths;
    for (const QString& folder : { QStringLiteral(QUORVANE_EXAMPLES_DIR "/input"),
             QStringLiteral(QUORVANE_EXAMPLES_DIR "/../fuzz/corpus") }) {
        QDirIterator it(folder, { "*.xml" }, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext())
            paths << it.next();
    }
    ASSERT_GE(paths.size(), 5);
    TempDir dir;
    // Documents cut across files, as conversion lines cut long books.
    for (const Corpus::TreeFile& file : Corpus::Tree(3, 30, 2500, true))
        paths << dir.write(file.path, file.bytes);
    expectPassAgreesWithDriver(paths);
}

TEST(OpenTagPass, PredictsWhatTheDriverLeavesOpenForMalformedFiles)
{
    QRandomGenerator random(20261126);
    TempDir dir;
    for (int batch = 0; batch < 40; ++batch) {
        QStringList paths;
        for (int i = 0; i < 6; ++i)
            paths << dir.write(QStringLiteral("b%1/f%2.xml").arg(batch).arg(i), tagSoup(random));
        paths << dir.write(QStringLiteral("b%1/empty.xml").arg(batch), {});
        SCOPED_TRACE(batch);
        expectPassAgreesWithDriver(paths);
    }
}
