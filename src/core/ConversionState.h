#pragma once

#include <QtGlobal>
#include <map>
#include <memory>

class PrecedingText;

// What the convert-to-tag and convert-to-attribute rules keep for one file:
// built on first use, so that every tag of the file reads it again instead of
// searching the whole text afresh.
struct ConversionState {
    // The dashed text before the tags of one element, by the zero-based
    // offset where that text starts; it only ever grows to the right.
    std::map<qsizetype, std::shared_ptr<PrecedingText>> precedingTexts;
};
