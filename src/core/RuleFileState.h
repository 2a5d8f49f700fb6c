#pragma once

#include <memory>
#include <utility>
#include <vector>

// What a rule keeps while it checks one file, such as an index of the file
// text that every tag reads again. A rule derives its own type; its registry
// entry names the function that makes one, so nothing here knows any rule.
struct RuleFileState {
    virtual ~RuleFileState() = default;
};

using MakeRuleFileState = std::unique_ptr<RuleFileState> (*)();

// The file states of one run, one per maker: the routines whose entries name
// the same maker share one state. The driver drops them all when the next
// file starts, so no state outlives the text it was built from.
class RuleFileStates {
public:
    RuleFileState& of(MakeRuleFileState make)
    {
        // A handful of kinds at most: a list beats a hash here.
        for (const auto& [maker, state] : states_) {
            if (maker == make)
                return *state;
        }
        states_.emplace_back(make, make());
        return *states_.back().second;
    }
    // The state that maker made in this file; null while none was.
    RuleFileState* find(MakeRuleFileState make) const
    {
        for (const auto& [maker, state] : states_) {
            if (maker == make)
                return state.get();
        }
        return nullptr;
    }
    void clear() { states_.clear(); }

private:
    std::vector<std::pair<MakeRuleFileState, std::unique_ptr<RuleFileState>>> states_;
};

// The maker of a state type, for a registry entry.
template <typename State> std::unique_ptr<RuleFileState> MakeFileState()
{
    return std::make_unique<State>();
}
