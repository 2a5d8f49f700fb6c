#pragma once

#include <QString>
#include <QStringView>
#include <optional>

struct RuleContext;

// The name an image goes by in the name rules: its file name without folders
// and without its extension ("graphics/jcs-0147-f1.tif" gives "jcs-0147-f1").
QString ImageBaseName(QStringView value);

// The text of the first element of that name (letter case ignored), tags
// taken out and blanks trimmed; none when the text holds no such element.
std::optional<QString> FirstElementText(QStringView text, const QString& elementName);

// The length the image names of a file must have: the routine parameter when
// it is a positive number, else none (the first image name then decides).
std::optional<int> ExpectedImageNameLength(QStringView parameter);

// Declared on an image tag: every image the tag names begins with the
// article identifier, letter case aside. The identifier is the input file's
// base name, or the text of the element the parameter names.
void IMGNAMEARTIDEQUALITY(RuleContext& context);
// Declared on an image tag: every image the tag names has the length the
// parameter gives, or else the length of the file's first image name.
void IMGNAMELENGTHEQUALITY(RuleContext& context);
