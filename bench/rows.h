// What is measured: pairs of a crossing through the library and its floor.

#ifndef BENCH_ROWS_H
#define BENCH_ROWS_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace bench {

enum class Thread { kAttached, kUnattached, kJava };
const char* name(Thread thread);

// The most that a crossing may take, as a multiple of its floor.
constexpr double kObjectTarget = 1.10;
constexpr double kBareTarget = 1.25;
constexpr double kUnattachedTarget = 1.02;
constexpr double kEventTarget = 1.15;
constexpr double kRegistryTarget = 1.10;
constexpr double kLoadTarget = 1.10;

// Does the crossing count times; the result is that of the calls, or-ed.
using Batch = std::function<int(int count)>;

struct Row {
    std::string name;
    Thread thread;
    double target;
    std::function<void()> prepare;  // on an attached thread, before the row is measured
    Batch bridge;
    Batch floor;
};

// Every row, in the order of the table. Makes the pipelines and filters that they work on.
std::vector<Row> makeRows();

// The pipelines of the measurements besides the table, registered with library and floor.
uint32_t firstPipeline();
uint32_t secondPipeline();
int tuneTerrestrial(uint32_t pipeline);
int askStatus(uint32_t pipeline);  // 25 kinds

// Rows that are no part of the table: a status query of so many equal kinds, an event with a list
// of so many elements, through the library. answerStatusObject prepares the query.
void answerStatusObject();
Batch statusOfKinds(int kinds);
Batch listOfElements(int elements);

}  // namespace bench

#endif  // BENCH_ROWS_H
