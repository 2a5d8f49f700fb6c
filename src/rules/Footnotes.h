#pragma once

struct RunState;

// A footnote whose reference mark became its fnref attribute must not keep
// the mark among the first two words of its text.
void UNDELFNREF(RunState& state);
