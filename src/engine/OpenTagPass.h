#pragma once

#include "core/OpenTagNames.h"
#include "core/ToolkitState.h"
#include "core/ValidationContext.h"

#include <QHash>
#include <QList>
#include <QStringList>
#include <vector>

// The open-tag list is all that one file of a batch hands on to the next and
// that can change what the next one reports. It changes only at start and end
// tags, so a pass over a file's tags alone, without any routine, tells what
// the file does to it; the files of a batch can be passed over side by side,
// and every file then validated once from the list it really starts with.

// What one file does to the open-tag list it starts with.
struct OpenTagEffect {
    // End tags that closed nothing the file itself opened, by name, in file
    // order: each closes the innermost element of that name the file started
    // with, if there is one.
    QStringList closesCarried;
    struct Opened {
        ValidationContext context;
        // -1 when the tag was read inside an element the file opened itself;
        // otherwise its enclosing tag is the innermost tag of the list the
        // file started with, once this many of closesCarried had closed.
        qsizetype enclosingCarriedAfter = -1;
    };
    std::vector<Opened> leftOpen; // the elements the file opens and leaves open, oldest first
};

// The effect of a text as the driver reads it (line ends already CR LF).
OpenTagEffect OpenTagEffectOfText(const QString& text);

// The effect of the file loaded as validation loads it. A file that cannot be
// read has none: its validation fails, and a batch goes no further.
OpenTagEffect OpenTagEffectOfFile(const QString& path, bool utf8Input);

// Turns the list a file starts with into the one it hands on.
void ApplyOpenTagEffect(QList<ValidationContext>& openTags, const OpenTagEffect& effect);
// The same, for a list kept with its count of open tags by name (the
// driver's): the count stays in step, so a long list is not counted again.
// The numbers of the names are the toolkit's, as the driver keeps them.
void ApplyOpenTagEffect(QList<ValidationContext>& openTags, OpenTagNames& names, ToolkitState& toolkit,
    const OpenTagEffect& effect);

// The effects of the files, in their order, found up to `jobs` files at a time.
std::vector<OpenTagEffect> OpenTagEffectsOfFiles(const QStringList& paths, bool utf8Input, int jobs);

// The open-tag list the file after `paths` starts with, when the first of them
// starts with `start`: what a slice of a batch starts with, given the files
// before it.
QList<ValidationContext> OpenTagsAfterFiles(
    const QStringList& paths, bool utf8Input, QList<ValidationContext> start, int jobs);
