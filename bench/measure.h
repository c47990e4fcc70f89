// Times two things against each other, in small alternating batches.

#ifndef BENCH_MEASURE_H
#define BENCH_MEASURE_H

#include <vector>

#include "bench/rows.h"

namespace bench {

// Runs both until Java's compiler has nothing left to do, for about that many seconds, and returns
// how many calls make a batch that is long enough to time.
int warmUp(const Batch& bridge, const Batch& floor, double seconds);

// Nanoseconds per call of one round: both of each pair of batches, in the order A B B A.
struct Round {
    double bridge;
    double floor;
};
Round measureRound(const Batch& bridge, const Batch& floor, int batch);

// The medians of many rounds, their ratio, and the distance between the quartiles of the rounds'
// own ratios.
struct Comparison {
    double bridge;
    double floor;
    double ratio;
    double spread;
};
Comparison compare(const std::vector<Round>& rounds);

double median(std::vector<double> values);

// How well a line through the points describes them.
struct Line {
    double perUnit;
    double atZero;
    double fit;  // the coefficient of determination, 1 at best
};
Line fitLine(const std::vector<double>& x, const std::vector<double>& y);

}  // namespace bench

#endif  // BENCH_MEASURE_H
