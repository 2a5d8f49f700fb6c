#pragma once

#include <cstdint>
#include <vector>

// The open tags' names as the numbers the file record's toolkit gives them,
// beside the open-tag list: the number of each open tag, in the list's
// order, and how many open tags carry each number. An end tag finds whether
// any tag of its name is open, and which one, by comparing numbers, with no
// string hashed or compared per tag.
class OpenTagNames {
public:
    bool holds(std::int32_t id) const
    {
        return id >= 0 && std::size_t(id) < counts_.size() && counts_[std::size_t(id)] > 0;
    }
    void opened(std::int32_t id)
    {
        ids_.push_back(id);
        if (std::size_t(id) >= counts_.size())
            counts_.resize(std::size_t(id) + 1, 0);
        ++counts_[std::size_t(id)];
    }
    // The innermost open tag of that number, -1 when none is open.
    std::int64_t innermost(std::int32_t id) const
    {
        if (!holds(id))
            return -1;
        for (std::size_t i = ids_.size(); i-- > 0;) {
            if (ids_[i] == id)
                return std::int64_t(i);
        }
        return -1;
    }
    void closedAt(std::int64_t index)
    {
        const auto at = ids_.begin() + index;
        --counts_[std::size_t(*at)];
        ids_.erase(at);
    }
    void clear()
    {
        ids_.clear();
        counts_.clear();
    }
    std::size_t size() const { return ids_.size(); }
    std::int32_t idAt(std::size_t index) const { return ids_[index]; }

private:
    std::vector<std::int32_t> ids_;
    std::vector<std::int32_t> counts_;
};
