#pragma once

#include <cstdint>

namespace loadcal {

/// The genetic search's random source: xoshiro256** seeded through
/// splitmix64. Everything it produces comes from integer arithmetic of its
/// own, so a seed gives the same sequence with every compiler, standard
/// library and machine (unlike the standard distributions). A plain value of
/// 32 bytes; copying it forks the sequence.
class CRandom {
public:
    explicit CRandom(std::uint64_t seed = 0) { Seed(seed); }

    /// Restarts the sequence from seed.
    void Seed(std::uint64_t seed)
    {
        for (std::uint64_t& word : m_state) {
            word = SplitMix(seed);
        }
    }

    /// The next 64 random bits.
    std::uint64_t Next()
    {
        const std::uint64_t result = Rotl(m_state[1] * 5, 7) * 9;
        const std::uint64_t t = m_state[1] << 17;
        m_state[2] ^= m_state[0];
        m_state[3] ^= m_state[1];
        m_state[1] ^= m_state[2];
        m_state[0] ^= m_state[3];
        m_state[2] ^= t;
        m_state[3] = Rotl(m_state[3], 45);
        return result;
    }

    /// A number in 0 .. bound-1 (bound >= 1), by multiplying the upper 32
    /// bits; the bias is below bound / 2^32.
    std::uint32_t Below(std::uint32_t bound)
    {
        return static_cast<std::uint32_t>(((Next() >> 32) * bound) >> 32);
    }

    /// True with probability threshold / 2^32 (see Threshold).
    bool Chance(std::uint32_t threshold) { return (Next() >> 32) < threshold; }

    /// The Chance threshold of a probability; values outside 0..1 are clamped.
    static std::uint32_t Threshold(double probability)
    {
        if (!(probability > 0.0)) {
            return 0;
        }
        if (probability >= 1.0) {
            return 0xFFFFFFFFu;
        }
        return static_cast<std::uint32_t>(probability * 4294967296.0);
    }

private:
    static std::uint64_t Rotl(std::uint64_t x, int k) { return (x << k) | (x >> (64 - k)); }
    static std::uint64_t SplitMix(std::uint64_t& x)
    {
        std::uint64_t z = (x += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }

    std::uint64_t m_state[4];
};

}  // namespace loadcal
