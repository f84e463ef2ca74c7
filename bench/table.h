// The one table of a run: each row a measure beside the floor of the same run. Filled and printed
// by the benchmark's main thread; samples of both sides are taken in turns, so that what else the
// machine does meets both.
#pragma once

#include <string>
#include <vector>

namespace bench {

// One quantity, sampled several times; times in microseconds.
struct Samples {
    std::vector<double> values;

    void add(double value) {
        values.push_back(value);
    }
    double median() const;
    // Half of the middle half's width, in percent of the median: what one figure may be off by.
    double spread() const;
};

// What the ratio is to reach: 0 where nothing is set. For counts the goal is the count itself.
enum class Goal { none, ratio, count };

struct Row {
    std::string measure;
    std::string unit;  // "us" or empty for counts
    double here = 0;
    double floor = 0;
    double noise = 0;  // the floor's spread, in percent
    Goal kind = Goal::none;
    double goal = 0;
};

class Table {
public:
    void add(const std::string& measure, const Samples& here, const Samples& floor, double goal);
    void count(const std::string& measure, double here, double floor, double goal);
    void add(Row row);

    // Prints the machine and all rows; a goal that is missed is marked.
    void print() const;

private:
    std::vector<Row> rows_;
};

}  // namespace bench
