#include "rules/PendingRoutines.h"

void CITATIONVALIDITY(RunState&) { }
void COMPCONT(RunState&) { }
void CHECKPAIRVALIDITY(RunState&) { }
void CHECKPAIRCONTVALIDITY(RunState&) { }
void CHECKCOUNTREFVALIDITY(RunState&) { }
void PCPDATACOMPARE(RunState&) { }
