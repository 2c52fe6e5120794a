#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace bench_client {

enum class Outcome { right, thin, refused, wrong };

/// What became of many wirings, by the rate that was chosen (of a refusal: by the fastest on offer).
class TruthTable {
public:
    void add(double megahertz, Outcome outcome, const std::string& reason);
    void addSkewError(double samples);
    unsigned count(Outcome outcome) const;
    std::string text(const std::string& title) const;

    std::vector<std::uint64_t> torn;     ///< calibrated wrong, with pins in different bit slots
    std::vector<std::uint64_t> marginal; ///< calibrated wrong, in the same slot but too near to an eye's edge

private:
    std::map<unsigned, std::array<unsigned, 4>> byRate; // by tens of MHz
    std::map<std::string, unsigned> reasons;
    std::array<unsigned, 4> totals{};
    double skewErrors = 0.0;
    double worstSkewError = 0.0;
    unsigned skews = 0;
};

} // namespace bench_client
