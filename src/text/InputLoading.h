#pragma once

#include <QByteArrayView>
#include <QString>
#include <cstdint>
#include <limits>
#include <stdexcept>

class OperatorInterface;
class QIODevice;

// An input file that could not be read at all. Validating it as an empty
// text would report a clean file that nobody checked, so reading fails the
// file instead.
class InputUnreadable : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Positions in the text are 32-bit and one-based, and a search may stand one
// past the last character: the longest text (and file) they can all address.
constexpr qint64 kLongestInput = std::numeric_limits<std::int32_t>::max() - 1;

// UTF-8 to UTF-16 as the platform converter does it: invalid sequences become
// U+FFFD and a leading byte-order mark is kept as the character U+FEFF.
QString DecodeUtf8(QByteArrayView bytes);

// The same decoding of everything left to read on the device, read `chunk`
// bytes at a time into a text sized for `sizeHint` bytes.
QString DecodeUtf8(QIODevice& device, qint64 sizeHint, qsizetype chunk);
constexpr qsizetype kInputPiece = qsizetype(1) << 20;

// Every LF that no CR precedes becomes CR LF; a lone CR stays. Files written
// on Linux end their lines with LF alone, and lines, columns and the
// hard-return rules are all counted in CR LF lines.
void NormalizeLineEnds(QString& text);

// The whole text of one input file, as the driver validates it:
// - a UTF-16 byte-order mark (either order) decodes UTF-16, whatever the run
//   mode says, and the mark is dropped;
// - ANSI runs read Windows-1252, unless the file starts with a UTF-8
//   byte-order mark: then it is read as UTF-8 and the mark dropped;
// - UTF-8 runs keep a UTF-8 mark as the first character (the two paths
//   differ on purpose);
// - LF-only line ends are read as CR LF.
// Throws InputUnreadable (after the ANSI path's message) when the file cannot
// be read, and when the file or its text is longer than `longest` (the
// positions would overflow); the file is then not read at all.
QString LoadInputText(
    OperatorInterface& ui, const QString& path, bool utf8Input, qint64 longest = kLongestInput);
