#pragma once

#include <QByteArray>
#include <QString>
#include <cstdint>
#include <vector>

// Generated tagged documents in the style of the sample input: journal
// articles and book chapters with sections, paragraphs with inline markup,
// footnotes with their reference marks, figures, tables with attributes,
// entities, hyphenated compounds, words hyphenated at line ends and
// hard-return markers, with CR LF lines. Findings for the sample rule set
// are seeded at about one per 5 KB. The same seed gives the same bytes on
// every machine: the generator has its own random numbers.
namespace Corpus {

// What kind of text to write.
struct Style {
    // Hyphenated compounds in every sentence and a word hyphenated at the
    // line end in every other paragraph, close to half of them unknown to
    // the dictionary, for the spelling checks.
    bool spellingHeavy = false;
    // Articles whose last section and the article itself are never closed,
    // as converted SGML leaves them: each file leaves two elements open.
    bool leaveOpen = false;
    int perFolder = 100; // files to a folder of a tree
};

// One document of at least `bytes` bytes (a little more: it ends its last
// element properly).
QByteArray Document(std::uint64_t seed, std::int64_t bytes, const Style& style = {});

struct TreeFile {
    QString path; // relative, "/"-separated
    QByteArray bytes;
};

// `count` files of about `fileBytes` each, a hundred to a folder unless the
// style says otherwise ("part000/doc00000.xml"). With `split`, now and then a document runs on
// into the next file, as conversion lines cut long books: the elements the
// first file leaves open are closed by the next one.
std::vector<TreeFile> Tree(
    std::uint64_t seed, int count, std::int64_t fileBytes, bool split, const Style& style = {});

} // namespace Corpus
