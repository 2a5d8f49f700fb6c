#include "engine/Validator.h"

#include "config/RoutineDeclTable.h"
#include "core/FileRecord.h"
#include "core/Paths.h"
#include "core/RunAborted.h"
#include "core/RunServices.h"
#include "core/SharedText.h"
#include "engine/RuleHelpers.h"
#include "engine/TagWalk.h"
#include "text/InputLoading.h"
#include "text/TagScanner.h"

#include <exception>

namespace {

const RoutineDeclTable* declarations(const RunServices& run)
{
    return run.tables.loaded<RoutineDeclTable>(SupportFile::RoutineDeclTbl);
}

bool isLetter(QChar c)
{
    return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z');
}

void runWholeFileChecks(FileRecord& state, const RunServices& run, const RuleBook& rules)
{
    for (const RuleEntry& check : rules.wholeFileChecks) {
        if (SwitchedOn(check, run.tables))
            RunRule(state, run, check);
    }
}

// The row stack follows the declared elements: every matching row of a start
// tag is pushed, any other tag of a declared element pops one row, an empty
// tag included. The table's answer for a name is remembered by the name's
// number, so a tag met again costs no hashing or upper-casing.
void followRowStack(FileRecord& state, const RoutineDeclTable& table, std::int32_t nameId)
{
    const auto ask = [&](const QString& name) {
        DeclaredRows answer;
        answer.askedInFile = state.declaredRowsFile;
        answer.declared = table.index.holds(name);
        // Asked once per name and file: upper-casing here costs nothing per tag.
        if (const auto rows = table.rowsByUpperTag.constFind(name.toUpper());
            answer.declared && rows != table.rowsByUpperTag.constEnd())
            answer.rows = &*rows;
        return answer;
    };
    DeclaredRows unnamed;
    DeclaredRows* memo = &unnamed;
    if (nameId >= 0) {
        if (std::size_t(nameId) >= state.declaredRows.size())
            state.declaredRows.resize(std::size_t(nameId) + 1);
        memo = &state.declaredRows[std::size_t(nameId)];
    }
    if (memo->askedInFile != state.declaredRowsFile)
        *memo = ask(state.context.tagName);
    const DeclaredRows& declared = *memo;
    if (!declared.declared)
        return;
    if (state.context.tagType == TagKind::Start) {
        if (!declared.rows)
            return;
        for (const int index : *declared.rows) {
            state.rowStack.append(index + 1);
            state.currentRow = index + 1;
        }
        return;
    }
    if (state.rowStack.size() > 1)
        state.rowStack.removeLast();
    state.currentRow = state.rowStack.size() > 1 ? state.rowStack.last() : 0;
}

// Where the start tag just read is, for the record made at the file's end.
void noteStartTag(FileRecord& state, const TagMatch& tag, std::int32_t lineStart, std::int32_t lineNumber)
{
    FileRecord::StartTagPlace& place = state.lastStartTag;
    place.tagStart = lineStart + tag.start;
    place.tagLength = tag.text.size();
    place.lineIndex = lineNumber - 1;
    place.linePosition = state.context.linePosition;
    const QString& enclosing = state.context.enclosingTag;
    if (ReadsText(enclosing, state.wholeText)) {
        place.enclosingStart = enclosing.constData() - state.wholeText.constData();
        place.enclosingLength = enclosing.size();
    } else {
        place.enclosingStart = -1;
        AssignUnlessSame(place.enclosingOwn, enclosing);
    }
}

// Makes the record of the last start tag the file met, as parts of the
// document like the other records; the record stays as it was when the file
// met none.
void settlePreviousStartTag(FileRecord& state)
{
    FileRecord::StartTagPlace& place = state.lastStartTag;
    if (place.tagStart < 0)
        return;
    const QString& text = state.wholeText;
    ValidationContext& record = state.previousStartTag;
    record.tagType = TagKind::Start;
    record.tagText = SharedPart(text, place.tagStart, place.tagLength);
    record.tagName = PartsOfFoundTag(record.tagText).name.toString();
    record.enclosingTag = place.enclosingStart >= 0
        ? SharedPart(text, place.enclosingStart, place.enclosingLength)
        : place.enclosingOwn;
    const QStringView line = state.line(place.lineIndex);
    record.lineText = SharedPart(text, line.constData() - text.constData(), line.size());
    record.linePosition = place.linePosition;
    record.filePosition = place.linePosition + state.lineStarts[std::size_t(place.lineIndex)];
    record.lineNumber = place.lineIndex + 1;
    place = {};
}

// Lists a start tag as open. Its record takes the tag's text, name and
// places; its line and enclosing tag, read by no rule from the list, are
// noted as places and filled in when the file ends (completeOpenTags).
void openTag(FileRecord& state, std::int32_t nameId)
{
    const ValidationContext& tag = state.context;
    ValidationContext open;
    open.tagText = tag.tagText;
    open.tagName = tag.tagName;
    open.tagType = TagKind::Start;
    open.filePosition = tag.filePosition;
    open.linePosition = tag.linePosition;
    open.lineNumber = tag.lineNumber;
    if (ReadsText(tag.enclosingTag, state.wholeText)) {
        open.enclosingStart = std::int32_t(tag.enclosingTag.constData() - state.wholeText.constData());
        open.enclosingLength = std::int32_t(tag.enclosingTag.size());
    } else {
        open.enclosingTag = tag.enclosingTag;
        open.enclosingStart = -2;
    }
    state.openTags.append(std::move(open));
    state.openTagNames.opened(nameId);
}

// Fills in the lines and enclosing tags of the open tags this document
// listed: they are the list's back, after the whole records of earlier files.
void completeOpenTags(FileRecord& state)
{
    const QString& text = state.wholeText;
    for (qsizetype i = state.openTags.size() - 1; i >= 0; --i) {
        ValidationContext& open = state.openTags[i];
        if (open.enclosingStart == -1)
            break;
        const QStringView line = state.line(open.lineNumber - 1);
        open.lineText = SharedPart(text, line.constData() - text.constData(), line.size());
        if (open.enclosingStart >= 0)
            open.enclosingTag = SharedPart(text, open.enclosingStart, open.enclosingLength);
        open.enclosingStart = -1;
        open.enclosingLength = 0;
    }
}

// The records handed on to the next file read parts of this document's
// buffer, some without holding it (UncountedPart). They get characters of
// their own when the file ends: nothing after it may read the document, and
// a batch keeps one document in memory, not the last one as well.
// A line is copied once for all its tags; the open tags of earlier files,
// already copied, are the list's front and are not visited again.
void keepCarriedTagsOwn(FileRecord& state)
{
    const QString& document = state.wholeText;
    QString lastLine;
    QString lastCopy;
    const auto own = [&](QString& text) {
        if (!ReadsText(text, document))
            return;
        if (SamePlace(text, lastLine)) {
            text = lastCopy;
            return;
        }
        lastLine = text;
        text = QStringView(text).toString();
        lastCopy = text;
    };
    const auto ownRecord = [&](ValidationContext& record) {
        own(record.lineText);
        own(record.tagText);
        own(record.enclosingTag);
    };
    for (qsizetype i = state.openTags.size() - 1; i >= 0; --i) {
        ValidationContext& open = state.openTags[i];
        if (!ReadsText(open.tagText, document) && !ReadsText(open.lineText, document))
            break;
        ownRecord(open);
    }
    ownRecord(state.context);
    ownRecord(state.previousTag);
    ownRecord(state.previousStartTag);
}

// Makes the records a file hands on whole and gives them characters of their
// own: nothing read after the file is checked reads its document.
void settleCarriedTagState(FileRecord& state)
{
    if (state.tagMet) {
        state.previousTag = state.context;
        state.tagMet = false;
    }
    settlePreviousStartTag(state);
    completeOpenTags(state);
    keepCarriedTagsOwn(state);
}

void validateLoadedFile(FileRecord& state, const RunServices& run, const RuleBook& rules)
{
    SplitLines(state);
    const int last = state.lineCount() - 1;
    ResetPerFileState(state);
    runWholeFileChecks(state, run, rules);

    run.ui.setProgressRange(0, last < 1 ? 1 : last);
    std::int32_t lineStart = 0;
    for (int i = 0; i <= last; ++i) {
        run.ui.setProgressValue(i);
        // The line shares the document's buffer: nothing is copied for it,
        // nor for the tags the rules are handed from it.
        const QString line = SharedPart(state.wholeText, lineStart, state.line(i).size());
        ScanLine(state, run, line, lineStart, i + 1);
        lineStart += static_cast<std::int32_t>(line.size()) + 2;
        run.ui.processEvents();
    }
    for (const RuleEntry& check : rules.fileEndChecks) {
        // A file in which its routines never ran has nothing to judge.
        if (check.makeFileState && !state.ruleStates.find(check.makeFileState))
            continue;
        RunRule(state, run, check);
    }
}

} // namespace

void SplitLines(FileRecord& state)
{
    state.lineStarts.clear();
    const QString& text = state.wholeText;
    if (text.isEmpty())
        return;
    state.lineStarts.push_back(0);
    // A character search is much quicker than a search for the pair.
    for (qsizetype at = text.indexOf(u'\n', 1); at >= 0; at = text.indexOf(u'\n', at + 1)) {
        if (text[at - 1] == u'\r')
            state.lineStarts.push_back(static_cast<std::int32_t>(at + 1));
    }
}

void ResetPerFileState(FileRecord& state)
{
    state.contextElement.clear();
    state.elementRow = nullptr;
    state.tagMet = false;
    state.routineParameter = {};
    state.toolkit.clearQuotedMarkupNote();
    state.currentRow = 0;
    state.rowStack = { 0 };
    state.ruleStates.clear();
    ++state.declaredRowsFile;
}

void ScanLine(FileRecord& state, const RunServices& run, const QString& line, std::int32_t lineStart,
    std::int32_t lineNumber)
{
    state.toolkit.currentLineNumber = lineNumber;
    const RoutineDeclTable* table = declarations(run);
    TagScanner xml(state.toolkit);
    WalkLineTagMatches(xml, line, [&](const TagMatch& tag) {
        const std::int32_t nameId = FillTagContext(
            state.context, state.toolkit, tag, line, lineStart, lineNumber, InnermostOpenTag(state.openTags));
        state.tagMet = true;
        if (state.element().isEmpty() && !state.context.tagName.isEmpty()
            && isLetter(state.context.tagName.front())) {
            state.elementRow = nullptr;
            state.contextElement = state.context.tagName;
        }

        if (table) {
            // A row tagged "N/A" (any case) runs for every tag.
            if (table->firstNotApplicableRow >= 0)
                DispatchRow(state, run, *table, table->firstNotApplicableRow + 1);
            followRowStack(state, *table, nameId);
            if (state.currentRow != 0)
                DispatchRow(state, run, *table, state.currentRow);
        }

        if (state.context.tagType == TagKind::Start) {
            openTag(state, nameId);
            noteStartTag(state, tag, lineStart, lineNumber);
        } else {
            FollowOpenTags(state.openTags, state.openTagNames, state.context, nameId);
        }
    });
}

CarriedTagState CarriedTagStateOf(const FileRecord& state)
{
    return { state.openTags, state.context, state.previousTag, state.previousStartTag };
}

void SeedCarriedTagState(FileRecord& state, CarriedTagState carried)
{
    state.openTags = std::move(carried.openTags);
    CountOpenTagNames(state.openTags, state.openTagNames, state.toolkit);
    state.context = std::move(carried.context);
    state.previousTag = std::move(carried.previousTag);
    state.previousStartTag = std::move(carried.previousStartTag);
    state.lastStartTag = {};
}

void ValidateFile(FileRecord& state, const RunServices& run, const RuleBook& rules)
{
    // However the file ends, the record of its last start tag is made while
    // its text is still the one loaded.
    struct SettleAtEnd {
        FileRecord& state;
        ~SettleAtEnd() { settleCarriedTagState(state); }
    } settleAtEnd { state };
    try {
        // Taken before the text is read: whatever changes the file from here
        // on keeps it from passing on as validated.
        state.inputIdentity = FileIdentityOf(state.inputPath);
        state.wholeText = LoadInputText(run.ui, state.inputPath, run.installation.config.Utf8Input);
        state.toolkit.indexText(state.wholeText);
        validateLoadedFile(state, run, rules);
    } catch (const RunAborted&) {
        throw;
    } catch (const std::exception& failure) {
        run.ui.messageBox(
            QStringLiteral("Error in Reading Input File!  -- Error: ") + QString::fromUtf8(failure.what()),
            kProgramTitle, MessageIcon::Warning);
        throw RunAborted(ExitStatus::Refused);
    }
}
