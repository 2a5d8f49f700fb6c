#pragma once

#include <QString>
#include <QtGlobal>
#include <optional>

struct ToolkitState;
struct ValidationContext;

// Where the content of the element opened by a start tag lies in the whole
// file text, zero-based and end exclusive: the content GetPCDATA gives from
// that tag to "</" + name + ">", nested elements of the same name counted.
struct ContentRange {
    qsizetype start = 0;
    qsizetype end = 0;
};

// The content range of the current start tag's element; nothing when the
// element is not closed. Answers from the toolkit's index of the file, so
// asking for every element of a deeply nested file stays cheap.
std::optional<ContentRange> CurrentElementContent(
    const QString& document, ToolkitState& toolkit, const ValidationContext& context);
