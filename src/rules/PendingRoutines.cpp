#include "rules/PendingRoutines.h"

void IMGNAMEARTIDEQUALITY(RuleContext&) { }
void IMGNAMELENGTHEQUALITY(RuleContext&) { }
void CheckImageValidation(RuleContext&) { }
void StartImageCrossCheck(RunState&) { }
void ReportImagesWithoutCallout(RunState&) { }
void CheckFileName(RuleContext&) { }
void CITATIONVALIDITY(RuleContext&) { }
void COMPCONT(RuleContext&) { }
void CHECKPAIRVALIDITY(RuleContext&) { }
void CHECKPAIRCONTVALIDITY(RuleContext&) { }
void CHECKCOUNTREFVALIDITY(RuleContext&) { }
void PCPDATACOMPARE(RuleContext&) { }
