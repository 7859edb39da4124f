#include "bench/roadresult.h"

#include <algorithm>
#include <cstdio>

void print(const Result &result)
{
    std::printf("{\"row\":\"%s\",\"what\":\"%s\",\"goal\":%.6g,", result.row.c_str(),
                result.what.c_str(), result.goal);
    if (result.stretch > 0)
        std::printf("\"stretch\":%.6g,", result.stretch);
    if (result.tolerance >= 0)
        std::printf("\"tolerance\":%.6g,", result.tolerance);
    std::printf("\"unit\":\"%s\",\"measured\":%.4g,\"detail\":\"%s\"}\n", result.unit.c_str(),
                result.measured, result.detail.c_str());
    std::fflush(stdout);
}

double quantileOf(std::vector<double> values, double quantile)
{
    const auto last = static_cast<double>(values.size() - 1);
    const auto at = values.begin() + static_cast<std::ptrdiff_t>(quantile * last + 0.5);
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

double medianOf(const std::vector<double> &values)
{
    return quantileOf(values, 0.5);
}

std::string shown(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.3g", value);
    return text;
}
