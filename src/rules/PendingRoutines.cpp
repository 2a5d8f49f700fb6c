#include "rules/PendingRoutines.h"

void IMGNAMEARTIDEQUALITY(RunState&) { }
void IMGNAMELENGTHEQUALITY(RunState&) { }
void CheckImageValidation(RunState&) { }
void StartImageCrossCheck(RunState&) { }
void ReportImagesWithoutCallout(RunState&) { }
void CheckFileName(RunState&) { }
