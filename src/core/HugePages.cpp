#include "core/HugePages.h"

#include <cstdint>
#include <sys/mman.h>

void AdviseHugePages(void* data, std::size_t bytes)
{
    // One huge page is 2 MB; a buffer smaller than two of them seldom holds
    // a whole aligned one.
    constexpr std::size_t kWorthIt = std::size_t(4) << 20;
    constexpr std::uintptr_t kPage = 4096;
    if (!data || bytes < kWorthIt)
        return;
    const auto begin = (reinterpret_cast<std::uintptr_t>(data) + kPage - 1) & ~(kPage - 1);
    const auto end = (reinterpret_cast<std::uintptr_t>(data) + bytes) & ~(kPage - 1);
    if (end > begin)
        ::madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
}
