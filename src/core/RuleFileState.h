#pragma once

#include <QJsonValue>
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

// What a rule carries from one file to the next of a run, such as a number
// the last element it checked leaves for the next. Unlike a file state it is
// never dropped between files. A batch that checks files side by side checks
// each one apart from the files before it, on a share of its own, and the
// run takes the shares in, one after another in batch order; a rule whose
// findings depended on what earlier files carried could not be checked so.
struct RuleRunState {
    virtual ~RuleRunState() = default;
    // This state becomes the share of a file checked apart: what the files
    // before it carried is not known here, and must not be taken for written.
    virtual void startApart() = 0;
    // Takes in what a later file's share, of the same type, wrote.
    virtual void takeLater(const RuleRunState& later) = 0;
    // A batch split over processes joins its slices' states after the last
    // one: a state that a check after the run reads says how it is written
    // and read back. The rest stay in their process (saved() gives null).
    virtual QJsonValue saved() const { return {}; }
    // Reads back what saved() wrote; false for a value it cannot read.
    virtual bool restore(const QJsonValue& /*saved*/) { return false; }
};

using MakeRuleRunState = std::unique_ptr<RuleRunState> (*)();

// The carried states of one run, one per maker, as RuleFileStates; or, on a
// batch worker, the shares of the file it checks now.
class RuleRunStates {
public:
    RuleRunState& of(MakeRuleRunState make)
    {
        for (const auto& [maker, state] : states_) {
            if (maker == make)
                return *state;
        }
        std::unique_ptr<RuleRunState> state = make();
        if (apart_)
            state->startApart();
        states_.emplace_back(make, std::move(state));
        return *states_.back().second;
    }
    RuleRunState* find(MakeRuleRunState make) const
    {
        for (const auto& [maker, state] : states_) {
            if (maker == make)
                return state.get();
        }
        return nullptr;
    }
    // From now on these are the shares of one file checked apart from those
    // before it; what earlier files left here is dropped.
    void startFileApart()
    {
        states_.clear();
        apart_ = true;
    }
    // Takes in the shares of a later file, in batch order.
    void takeLater(const RuleRunStates& later)
    {
        for (const auto& [maker, share] : later.states_)
            of(maker).takeLater(*share);
    }

private:
    std::vector<std::pair<MakeRuleRunState, std::unique_ptr<RuleRunState>>> states_;
    bool apart_ = false;
};

// The maker of a state type, for a registry entry.
template <typename State> std::unique_ptr<RuleFileState> MakeFileState()
{
    return std::make_unique<State>();
}

template <typename State> std::unique_ptr<RuleRunState> MakeRunState()
{
    return std::make_unique<State>();
}
