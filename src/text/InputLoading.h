#pragma once

#include <QByteArrayView>
#include <QString>

class xmlClass;

// UTF-8 to UTF-16 as the platform converter does it: invalid sequences become
// U+FFFD and a leading byte-order mark is kept as the character U+FEFF.
QString DecodeUtf8(QByteArrayView bytes);

// All bytes of the file decoded as UTF-8; an empty or unreadable file gives
// the empty text.
QString ReadUtf8File(const QString& path);

// The whole text of one input file. ANSI runs read Windows-1252, unless the
// file starts with a UTF-8 byte-order mark: then it is read again as UTF-8
// and the mark dropped. UTF-8 runs keep the mark as the first character.
// Line ends are left as they are; the driver splits at CR LF.
QString LoadInputText(xmlClass& xml, const QString& path, bool utf8Input);
