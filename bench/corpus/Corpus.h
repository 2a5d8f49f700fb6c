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

// One document of at least `bytes` bytes (a little more: it ends its last
// element properly).
QByteArray Document(std::uint64_t seed, std::int64_t bytes);

struct TreeFile {
    QString path; // relative, "/"-separated
    QByteArray bytes;
};

// `count` files of about `fileBytes` each, a hundred to a folder
// ("part000/doc00000.xml"). With `split`, now and then a document runs on
// into the next file, as conversion lines cut long books: the elements the
// first file leaves open are closed by the next one.
std::vector<TreeFile> Tree(std::uint64_t seed, int count, std::int64_t fileBytes, bool split);

} // namespace Corpus
