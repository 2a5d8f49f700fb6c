#include "rules/Routines.h"

// Routines that exist by name so that every routine declaration table loads
// and runs, but that do nothing yet. Each moves to its own rule file when its
// rule is written.

void TEXTVALIDITY(RunState&) { }
void NOHRT(RunState&) { }
void WITHHRT(RunState&) { }
void HYPHENATEDWORDCHECK(RunState&) { }
void COMPOUNDWORDCHECK(RunState&) { }
void UNCONENTITIES(RunState&) { }
void CONVERT2TAG(RunState&) { }
void NOLEADZERO(RunState&) { }
void ATTRIBUNCONENTITY(RunState&) { }
void ATTRIBRANGEVALIDITY(RunState&) { }
void ATTRIBNUMBERVALIDITY(RunState&) { }
void CONVERT2ATTRIB(RunState&) { }
void CheckMultipleHardReturns(RunState&) { }

// These have no written rule at all: the image rules, the file-name check,
// citations, content and PCDATA comparison, pairs and count references.
void IMGNAMEARTIDEQUALITY(RunState&) { }
void IMGNAMELENGTHEQUALITY(RunState&) { }
void CITATIONVALIDITY(RunState&) { }
void COMPCONT(RunState&) { }
void CHECKPAIRVALIDITY(RunState&) { }
void CHECKPAIRCONTVALIDITY(RunState&) { }
void CHECKCOUNTREFVALIDITY(RunState&) { }
void PCPDATACOMPARE(RunState&) { }
void CheckFileName(RunState&) { }
void CheckImageValidation(RunState&) { }
