// Random diagrams: valid, small, every class in them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <random>
#include <span>
#include <string>
#include <string_view>

namespace tessel::test {

/// Where a random diagram takes its decisions from.
class Choices {
public:
    virtual ~Choices() = default;
    /// A number below `n`, which is at least 1.
    virtual unsigned below(unsigned n) = 0;
    /// True once in so many.
    bool once_in(unsigned n) { return below(n) == 0; }
};

/// The same decisions for the same seed, on every machine.
class SeededChoices final : public Choices {
public:
    explicit SeededChoices(std::uint64_t seed) : random_(seed) {}
    unsigned below(unsigned n) override { return static_cast<unsigned>(random_() % n); }

private:
    std::mt19937_64 random_;
};

/// Decisions spelt out by bytes, two for each; 0 behind their end.
class ByteChoices final : public Choices {
public:
    explicit ByteChoices(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}
    unsigned below(unsigned n) override {
        const unsigned high = next();
        const unsigned low = next();
        return (high * 256u + low) % n;
    }
    bool used_up() const { return at_ >= bytes_.size(); }

private:
    unsigned next() { return at_ < bytes_.size() ? bytes_[at_++] : 0u; }

    std::span<const std::uint8_t> bytes_;
    std::size_t at_ = 0;
};

/// The series that random diagrams play, which the bridge must know.
inline constexpr std::string_view random_series = "recorded";
/// Makes the built-in bridge forget everything but that series.
void prepare_bridge();

struct random_model_t {
    unsigned blocks = 25;    ///< about so many
    unsigned depth = 3;      ///< levels of subsystems
    bool with_gates = true;  ///< subsystems with `enable` blocks
};

/// A model file's content. It loads, compiles, and every block has a runnable form; no input can end the process. Every
/// signal depends on blocks before it only, but for `memory`, which no other `memory` feeds. Names are unique.
nlohmann::json random_model(Choices& choices, const random_model_t& shape = {});

}  // namespace tessel::test
