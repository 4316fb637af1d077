#ifndef HOLVANE_SESSION_RELAXED_H
#define HOLVANE_SESSION_RELAXED_H

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <vector>

namespace Holvane {
namespace Internal {

// The per-pixel counters and coverage bits are shared by all render threads without a lock. Two threads
// racing on one pixel may lose a count or record a plaque twice, which the phase accepts; relaxed atomic
// operations keep that race defined at the cost of a plain access.
inline std::uint16_t relaxedLoad(std::uint16_t const& counter)
{
    return __atomic_load_n(&counter, __ATOMIC_RELAXED);
}

inline void relaxedStore(std::uint16_t& counter, std::uint16_t value)
{
    __atomic_store_n(&counter, value, __ATOMIC_RELAXED);
}

// A bucket's region and its active flag are written by the bucket's own thread and read by any thread that
// searches the buckets by region.
inline bool relaxedLoad(bool const& flag)
{
    return __atomic_load_n(&flag, __ATOMIC_RELAXED);
}

inline void relaxedStore(bool& flag, bool value)
{
    __atomic_store_n(&flag, value, __ATOMIC_RELAXED);
}

inline unsigned long long relaxedLoad(unsigned long long const& bound)
{
    return __atomic_load_n(&bound, __ATOMIC_RELAXED);
}

inline void relaxedStore(unsigned long long& bound, unsigned long long value)
{
    __atomic_store_n(&bound, value, __ATOMIC_RELAXED);
}

// Wraps at 65536 without notice.
inline void relaxedIncrement(std::uint16_t& counter)
{
    __atomic_fetch_add(&counter, std::uint16_t(1), __ATOMIC_RELAXED);
}

// Counts one at a pixel index; an index that is negative or beyond the counters counts nothing.
inline void countAt(std::vector<std::uint16_t>& counters, std::int32_t index)
{
    if (index >= 0 && static_cast<std::size_t>(index) < counters.size())
        relaxedIncrement(counters[static_cast<std::size_t>(index)]);
}

// One bit per rig camera at one pixel: set, the camera already owns an opaque plaque there.
class CoverageSet {
public:
    static constexpr std::size_t kBits = 256;

    bool test(std::size_t bit) const
    {
        checkRange(bit);
        return (__atomic_load_n(&words[bit / 64], __ATOMIC_RELAXED) >> (bit % 64)) & 1u;
    }
    void set(std::size_t bit)
    {
        checkRange(bit);
        __atomic_fetch_or(&words[bit / 64], std::uint64_t(1) << (bit % 64), __ATOMIC_RELAXED);
    }
    // Sets the bit and answers whether it was set before, in one step: two threads that found one pixel at
    // once can't both see it clear.
    bool testAndSet(std::size_t bit)
    {
        checkRange(bit);
        std::uint64_t const mask = std::uint64_t(1) << (bit % 64);
        return (__atomic_fetch_or(&words[bit / 64], mask, __ATOMIC_RELAXED) & mask) != 0;
    }
    bool none() const { return (words[0] | words[1] | words[2] | words[3]) == 0; }

private:
    std::uint64_t words[kBits / 64] = {};

    static void checkRange(std::size_t bit)
    {
        if (bit >= kBits)  // the text that hosts have always received, the standard bitset's own
            throw std::out_of_range("invalid bitset<N> position");
    }
};

}  // namespace Internal
}  // namespace Holvane

#endif
