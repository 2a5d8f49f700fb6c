#include "rules/PendingRoutines.h"

void IMGNAMEARTIDEQUALITY(RunState&) { }
void IMGNAMELENGTHEQUALITY(RunState&) { }
void CheckImageValidation(RunState&) { }
void StartImageCrossCheck(RunState&) { }
void ReportImagesWithoutCallout(RunState&) { }
void CheckFileName(RunState&) { }
void CITATIONVALIDITY(RunState&) { }
void COMPCONT(RunState&) { }
void CHECKPAIRVALIDITY(RunState&) { }
void CHECKPAIRCONTVALIDITY(RunState&) { }
void CHECKCOUNTREFVALIDITY(RunState&) { }
void PCPDATACOMPARE(RunState&) { }
