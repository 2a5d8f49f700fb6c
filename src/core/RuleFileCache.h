#pragma once

#include <memory>

// Work that a rule does once per file and then reuses for every tag, such as
// an index of the file text. A rule derives its own cache from this; the
// driver drops every cache when the next file starts, so a cache never
// outlives the text it was built from.
struct RuleFileCache {
    virtual ~RuleFileCache() = default;
};

// The caches of the rules that keep one, one slot each.
struct RuleFileCaches {
    std::unique_ptr<RuleFileCache> unconvertedEntities; // the entity search over the whole text
    std::unique_ptr<RuleFileCache> hyphenatedWords; // the text of the element last checked
    std::unique_ptr<RuleFileCache> images; // the file's image callouts and article identifier
    std::unique_ptr<RuleFileCache> convertToTag; // where the table's words stand in the whole text
    std::unique_ptr<RuleFileCache> crossReferences; // citation order, references and targets met so far
    std::unique_ptr<RuleFileCache> pairs; // the tags and contents the pair routines have read
    std::unique_ptr<RuleFileCache> contentComparison; // occurrences still waiting for their partner

    void clear()
    {
        unconvertedEntities.reset();
        hyphenatedWords.reset();
        images.reset();
        convertToTag.reset();
        crossReferences.reset();
        pairs.reset();
        contentComparison.reset();
    }
};
