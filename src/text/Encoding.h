#pragma once

#include <QByteArrayView>
#include <QString>
#include <QStringList>

// Windows-1252 ("ANSI") to UTF-16. The five bytes the code page leaves
// undefined (0x81, 0x8D, 0x8F, 0x90, 0x9D) map to the control characters of
// the same value, as the platform converter does.
QString DecodeWindows1252(QByteArrayView bytes);

// The configuration file and the support tables, line by line: a line whose
// bytes are valid UTF-8 is UTF-8, any other line Windows-1252. A leading UTF-8 byte-order mark is
// dropped, since an editor may add one to a table it saves.
QString DecodeTableText(QByteArrayView bytes);

// Lines of a configuration or table file: they may end in CR LF, LF or CR, as
// an editor on any system saves them; a final line end opens no further line.
QStringList SplitTextLines(const QString& text);
