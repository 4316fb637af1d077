#ifndef HOLVANE_CAMERA_MERSENNE_TWISTER_H
#define HOLVANE_CAMERA_MERSENNE_TWISTER_H

#include <cstdint>

namespace Holvane {
namespace Internal {

// The standard 32-bit Mersenne Twister (MT19937), its whole state held in the object so that it can live on
// the stack: seeding and drawing never allocate.
class MersenneTwister32 {
public:
    explicit MersenneTwister32(std::uint32_t seed)
    {
        state_[0] = seed;
        for (std::uint32_t i = 1; i < kSize; ++i)
            state_[i] = 1812433253u * (state_[i - 1] ^ (state_[i - 1] >> 30)) + i;
        index_ = kSize;
    }

    std::uint32_t next()
    {
        if (index_ >= kSize)
            index_ = 0;
        twistOne(index_);
        std::uint32_t y = state_[index_++];
        y ^= y >> 11;
        y ^= (y << 7) & 0x9d2c5680u;
        y ^= (y << 15) & 0xefc60000u;
        y ^= y >> 18;
        return y;
    }

    void discard(unsigned count)
    {
        for (unsigned i = 0; i < count; ++i)
            next();
    }

private:
    static constexpr std::uint32_t kSize = 624;
    static constexpr std::uint32_t kShift = 397;

    // Regenerates one word just before it is drawn. Going through the words in order in place gives the
    // same words as regenerating the whole block at once, and a seed that draws a few dozen words pays for
    // those only.
    void twistOne(std::uint32_t i)
    {
        std::uint32_t const y = (state_[i] & 0x80000000u) | (state_[(i + 1) % kSize] & 0x7fffffffu);
        std::uint32_t const mixed = (y >> 1) ^ ((y & 1u) ? 0x9908b0dfu : 0u);
        state_[i] = state_[(i + kShift) % kSize] ^ mixed;
    }

    std::uint32_t state_[kSize];
    std::uint32_t index_;
};

}  // namespace Internal
}  // namespace Holvane

#endif
