#include "rules/PendingRoutines.h"

void NOHRT(RunState&) { }
void WITHHRT(RunState&) { }
void CheckMultipleHardReturns(RunState&) { }

void HYPHENATEDWORDCHECK(RunState&) { }
void COMPOUNDWORDCHECK(RunState&) { }

void UNCONENTITIES(RunState&) { }

void IMGNAMEARTIDEQUALITY(RunState&) { }
void IMGNAMELENGTHEQUALITY(RunState&) { }
void CheckImageValidation(RunState&) { }
void ReportImagesWithoutCallout(RunState&) { }
void CheckFileName(RunState&) { }
void CITATIONVALIDITY(RunState&) { }
void COMPCONT(RunState&) { }
void CHECKPAIRVALIDITY(RunState&) { }
void CHECKPAIRCONTVALIDITY(RunState&) { }
void CHECKCOUNTREFVALIDITY(RunState&) { }
void PCPDATACOMPARE(RunState&) { }
