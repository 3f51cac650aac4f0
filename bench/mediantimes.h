#pragma once

// Timing for benchmarks that set a subject against a reference: the median of many runs of
// each, the two alternating so that whatever else the machine does at the time weighs on both
// alike.

#include <algorithm>
#include <chrono>
#include <functional>
#include <vector>

namespace Bench {

struct MedianTimes
{
    double subjectMs = 0;
    double referenceMs = 0;
    double ratio() const { return subjectMs / referenceMs; }
};

inline double msOf(const std::function<void()>& run)
{
    const auto start = std::chrono::steady_clock::now();
    run();
    const auto end = std::chrono::steady_clock::now();
    return std::chrono::duration<double, std::milli>(end - start).count();
}

inline double median(std::vector<double> times)
{
    std::nth_element(times.begin(), times.begin() + times.size() / 2, times.end());
    return times[times.size() / 2];
}

inline MedianTimes medianTimes(const std::function<void()>& subject,
                               const std::function<void()>& reference, int warmUps, int repetitions)
{
    for (int i = 0; i < warmUps; ++i) {
        subject();
        reference();
    }
    std::vector<double> subjectTimes;
    std::vector<double> referenceTimes;
    for (int i = 0; i < repetitions; ++i) {
        subjectTimes.push_back(msOf(subject));
        referenceTimes.push_back(msOf(reference));
    }
    return {median(subjectTimes), median(referenceTimes)};
}

} // namespace Bench
