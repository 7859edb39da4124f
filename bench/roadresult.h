#pragma once

#include <string>
#include <vector>

/// One line of the bench's table.
struct Result {
    std::string row; // "1 p50"
    std::string what;
    double goal = 0; // at most
    double measured = 0;
    std::string unit;   // "x" for a ratio
    std::string detail; // what was measured, absolute
    double stretch = 0; // 0: none
    double tolerance =
        -1; // part of the goal that a shared machine may add; -1: the row's usual one
};

/// As JSON, one object on one line of standard output, at once.
void print(const Result &result);

/// The value below which the part \a quantile of \a values lies. Not of nothing.
double quantileOf(std::vector<double> values, double quantile);
double medianOf(const std::vector<double> &values);

/// A number for a detail: up to three significant digits.
std::string shown(double value);
