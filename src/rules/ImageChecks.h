#pragma once

#include "core/Finding.h"
#include "core/RuleFileState.h"
#include "core/TableSet.h"

#include <QHash>
#include <QList>
#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QStringView>
#include <cstdint>
#include <vector>

struct ConfigurationLoading;
struct RuleContext;

// One row of the image validation table: an element and the attribute of it
// that names an image file ("graphic | xlink:href").
struct ImageTagRow {
    QString tag; // the element name, as written
    QString attribute;
};

struct ImageValidationTable : SupportTable {
    QList<ImageTagRow> rows;
    QHash<QString, QStringList> attributesByUpperTag; // every row's attribute, by upper-cased tag

    const QStringList* attributesOf(QStringView tagName) const;
};

bool LoadImageValidationTable(const ConfigurationLoading& loading, TableSet& set);

// Whether a table field is written as a bare element or attribute name
// ("href", "xlink:href").
bool IsBareName(QStringView field);

// One attribute of a tag text: views into that text. An attribute written
// without "=" has an empty value.
struct TagAttribute {
    QStringView name;
    QStringView value;
};
// The attributes of a start or empty tag, left to right; quotes, blanks
// around "=" and unquoted values as SGML allows them.
QList<TagAttribute> TagAttributes(QStringView tag);

// What one tag of a listed element says about images: the non-empty values
// of the listed attributes, in the table's order.
struct TagImages {
    bool listed = false; // the table has rows for the element
    QStringList names;
};
TagImages ImagesOfTag(QStringView tag, QStringView tagName, const ImageValidationTable& table);

// One callout of an image in the text.
struct ImageCallout {
    QString name; // the attribute value as written; empty when the tag names no image
    QString attributes; // the attributes looked at ("href or xlink:href"), for a tag naming none
    std::int32_t line = 0;
    std::int32_t column = 0; // of the tag's "<"
    QStringView data; // the line from the tag to its end, a view into the text
};

// Every image callout of a text whose lines start at the given offsets, in
// text order: start and empty tags of listed elements, as the line scanner
// reads them (comments and declarations aside).
std::vector<ImageCallout> FindImageCallouts(
    QStringView text, const std::vector<std::int32_t>& lineStarts, const ImageValidationTable& table);

// The file name in an image value: folders in front of it are dropped, the
// image folder being fixed by the configuration.
QString ImageFileNameOf(QStringView value);

// The image folder of an input file: IMAGEPATH, the name of the folder that
// holds the input, and IMAGEFOLDER, each ending in "/".
QString ImageFolderFor(const QString& imagePath, const QString& imageFolder, const QString& inputPath);

// The IMAGEEXTENSION setting as a list: pieces split at "," or "|", blanks
// and a leading "." dropped ("tif, .eps" gives tif and eps).
QStringList ImageExtensions(const QString& setting);

// The file names an image name may stand for: the name itself when it has an
// extension, else the name with each extension in turn.
QStringList ImageFileCandidates(const QString& fileName, const QStringList& extensions);

struct ImageFolderSettings {
    QString folder; // ends in "/"
    QStringList extensions;
    bool zeroBytesAreErrors = false;
};

// Looks every callout up in the image folder: a tag naming no image, an
// image not there, and (when asked) an empty image file are errors at the
// tag. The file name of every image found goes into calledOut.
std::vector<Finding> CheckImageCallouts(
    const std::vector<ImageCallout>& callouts, const ImageFolderSettings& settings, QSet<QString>& calledOut);

// What the whole-file image check carries through a run: every image folder
// that a file of the run was checked against, with the images of it that some
// file called out, and whether the run asked for the check after its last
// file (CHECKEXCESSIMGFILES). After the last file, what lies in those folders
// and is not called out is reported once for the whole run.
struct ImageRunState : RuleRunState {
    // Ordered by folder, so that the report after the run comes out the same
    // however the files were shared out.
    QMap<QString, QSet<QString>> calledOut;
    bool crossCheck = false;

    // A union: a file's share needs nothing of the files before it.
    void startApart() override { }
    void takeLater(const RuleRunState& later) override;
    QJsonValue saved() const override;
    bool restore(const QJsonValue& saved) override;
};
// The state's maker, for the whole-file check's registry entry.
std::unique_ptr<RuleRunState> MakeImageRunState();

// Every file in the run's image folders that no file of the run called out,
// folder after folder, by name; hidden files are nobody's delivery.
std::vector<Finding> ImagesWithoutCallout(const ImageRunState& run);

// The message after the run for an image that nothing calls out.
QString NoCalloutMessage(const QString& imageName);

// The per-file image state the image routines share; their registry entries
// name its maker, so that it goes with the file.
struct ImageFileState : RuleFileState {
    bool calloutsFound = false;
    std::vector<ImageCallout> callouts; // found once, on first use
    QHash<QString, QString> articleIds; // by routine parameter; empty when the file holds none
    QSet<QString> toldNoArticleId; // parameters whose missing identifier was reported
};
// The rule family's file state, for its registry entries.
std::unique_ptr<RuleFileState> MakeImageFileState();

// The file's image callouts, found once per file state from the document it
// was made for.
const std::vector<ImageCallout>& FileImageCallouts(ImageFileState& file, const QString& document,
    const std::vector<std::int32_t>& lineStarts, const ImageValidationTable& table);

// For the configuration check: settings of an active set that leave its
// image checks checking nothing, or reporting everything.
QStringList ImageSetupProblems(const TableSet& active, const QSet<QString>& declaredRoutines);

// The whole-file check: every image that the file calls out is in the image
// folder (and, with CHECKIMAGEZEROBYTES, not empty).
void CheckImageValidation(RuleContext& context);
// Drops what an earlier run left in the image state, which, unlike other
// carried states, belongs to one run only; the single-file run and the batch
// call it before their first file.
void StartImageCrossCheck(RuleRunStates& carried);
// After the last file, when the run's files were checked with
// CHECKEXCESSIMGFILES on: the run's findings for every image of its image
// folders that no file called out, named for the switch; none with it off or
// when no file was checked. The run hands them to its outputs.
std::vector<Finding> ExcessImageFindings(const RuleRunStates& carried);
