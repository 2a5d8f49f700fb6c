#pragma once

#include "core/TableSet.h"

#include <QLatin1StringView>
#include <array>

// The key of each support-file field in the configuration file and the name
// the missing-field list shows for it, in SupportFile order.
struct SupportFileField {
    QLatin1StringView key;
    QLatin1StringView name;
};

inline constexpr std::array<SupportFileField, kSupportFileCount> kSupportFileFields = { {
    { QLatin1StringView("ROUTINEDECLTBL"), QLatin1StringView("RoutineDeclTbl") },
    { QLatin1StringView("TEXTVALIDITYTBL"), QLatin1StringView("TextValidityTbl") },
    { QLatin1StringView("NOHRTDECLTBL"), QLatin1StringView("NoHRTDeclTbl") },
    { QLatin1StringView("WITHHRTDECLTBL"), QLatin1StringView("WithHRTDeclTbl") },
    { QLatin1StringView("HYPHENATEDTBL"), QLatin1StringView("HyphenatedTbl") },
    { QLatin1StringView("UNCONENTITIESTBL"), QLatin1StringView("UnConEntitiesTbl") },
    { QLatin1StringView("NOLEADZEROTBL"), QLatin1StringView("NoLeadZeroTbl") },
    { QLatin1StringView("ATTRIBUNCONTBL"), QLatin1StringView("AttribUnconTbl") },
    { QLatin1StringView("SPECIALCHARTBL"), QLatin1StringView("SpecialCharTbl") },
    { QLatin1StringView("CONVERT2ATTRIBTBL"), QLatin1StringView("Convert2AttribTbl") },
    { QLatin1StringView("CONVERT2TAGTBL"), QLatin1StringView("Convert2TagTbl") },
    { QLatin1StringView("COMPCONTTBL"), QLatin1StringView("CompContTbl") },
    { QLatin1StringView("CITATIONVALTBL"), QLatin1StringView("CitationValTbl") },
    { QLatin1StringView("CHECKPAIRTBL"), QLatin1StringView("CheckPairTbl") },
    { QLatin1StringView("CHECKPAIRCONTTBL"), QLatin1StringView("CheckPairContTbl") },
    { QLatin1StringView("FILENAMECHECKTBL"), QLatin1StringView("FilenameCheck") },
    { QLatin1StringView("COUNTREFCHECKTBL"), QLatin1StringView("CountRefCheck") },
    { QLatin1StringView("PCPDATACOMPARETBL"), QLatin1StringView("PCPDataCompare") },
    { QLatin1StringView("IMAGEVALIDATIONTBL"), QLatin1StringView("ImageValidationTbl") },
} };
