#pragma once

#include <functional>
#include <string>
#include <vector>

class Clock;
class Scheduler;

// What the latency benchmarks share: running the event loop until something happened, and
// printing a series of timings as median and 95th percentile.
class LatencyRun
{
public:
    // Runs the event loop until `done` or `seconds` have passed; returns `done()`.
    // Draws Qt Quick windows with the renderer the application picks (before QApplication).
    static void useApplicationRenderer();
    static bool waitUntil(Scheduler &scheduler, const Clock &clock, double seconds,
                          const std::function<bool()> &done);
    // Runs the event loop for `seconds`.
    static void pause(Scheduler &scheduler, const Clock &clock, double seconds);
    static double median(std::vector<double> ms);
    // One line: label, median, p95 and count, in the form run_all.sh reads.
    static void summary(const std::string &label, std::vector<double> ms);
};
