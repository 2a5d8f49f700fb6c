#include "rules/Images.h"

void StartRunImageList(RunState&) { }
void ReportImagesWithoutCallout(RunState&) { }
