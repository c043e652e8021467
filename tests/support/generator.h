#pragma once

#include <cstdint>
#include <cstring>
#include <random>

namespace korvel::test {

/// Random values that are the same in every run and under every library: the seed is fixed and the
/// distributions are our own.
class Generator {
  public:
    explicit Generator(std::uint64_t seed) : engine_(seed) {}

    std::uint64_t bits() { return engine_(); }
    std::uint64_t below(std::uint64_t bound) { return engine_() % bound; }
    bool chance() { return (engine_() & 1) != 0; }
    double between(double low, double high) {
        return low + (high - low) * (static_cast<double>(engine_() >> 11) * 0x1p-53);
    }
    /// Any finite double, each bit pattern as likely as another.
    double anyFinite() {
        for (;;) {
            const std::uint64_t pattern = engine_();
            double value = 0;
            std::memcpy(&value, &pattern, sizeof value);
            if (value - value == 0) {
                return value;
            }
        }
    }

  private:
    std::mt19937_64 engine_;
};

} // namespace korvel::test
