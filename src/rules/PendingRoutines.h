#pragma once

struct RunState;

// Routines and checks that exist by name so that every routine declaration
// table loads and runs, but that do nothing: their rules are not specified.
// Writing one moves its name from here to its family's own file.
void CITATIONVALIDITY(RunState& state);
void COMPCONT(RunState& state);
void CHECKPAIRVALIDITY(RunState& state);
void CHECKPAIRCONTVALIDITY(RunState& state);
void CHECKCOUNTREFVALIDITY(RunState& state);
void PCPDATACOMPARE(RunState& state);
