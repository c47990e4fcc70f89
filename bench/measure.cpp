#include "bench/measure.h"

#include <algorithm>
#include <chrono>

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr double kBatchSeconds = 60e-6;

double secondsOf(const Batch& batch, int count) {
    const Clock::time_point start = Clock::now();
    batch(count);
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double quantile(std::vector<double> values, double part) {
    const auto at =
        values.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

}  // namespace

int warmUp(const Batch& bridge, const Batch& floor, double seconds) {
    const Clock::time_point start = Clock::now();
    double perCall = 0;
    do {
        secondsOf(floor, 200);
        perCall = secondsOf(bridge, 200) / 200;
    } while (std::chrono::duration<double>(Clock::now() - start).count() < seconds);
    return std::max(1, static_cast<int>(kBatchSeconds / perCall));
}

Round measureRound(const Batch& bridge, const Batch& floor, int batch) {
    Round round = {};
    round.bridge = secondsOf(bridge, batch);
    round.floor = secondsOf(floor, batch);
    round.floor += secondsOf(floor, batch);
    round.bridge += secondsOf(bridge, batch);
    const double nanoseconds = 1e9 / (2 * batch);
    return {round.bridge * nanoseconds, round.floor * nanoseconds};
}

double median(std::vector<double> values) {
    return quantile(std::move(values), 0.5);
}

Comparison compare(const std::vector<Round>& rounds) {
    std::vector<double> bridge, floor, ratio;
    for (const Round& round : rounds) {
        bridge.push_back(round.bridge);
        floor.push_back(round.floor);
        ratio.push_back(round.bridge / round.floor);
    }
    Comparison result = {median(std::move(bridge)), median(std::move(floor)), 0, 0};
    result.ratio = result.bridge / result.floor;
    result.spread = quantile(ratio, 0.75) - quantile(ratio, 0.25);
    return result;
}

Line fitLine(const std::vector<double>& x, const std::vector<double>& y) {
    const double n = static_cast<double>(x.size());
    double sx = 0, sy = 0, sxx = 0, sxy = 0, syy = 0;
    for (size_t i = 0; i < x.size(); ++i) {
        sx += x[i];
        sy += y[i];
        sxx += x[i] * x[i];
        sxy += x[i] * y[i];
        syy += y[i] * y[i];
    }
    const double covariance = n * sxy - sx * sy;
    const double spreadX = n * sxx - sx * sx;
    const double spreadY = n * syy - sy * sy;
    const double perUnit = covariance / spreadX;
    return {perUnit, (sy - perUnit * sx) / n, covariance * covariance / (spreadX * spreadY)};
}

}  // namespace bench
