#include "progress.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <unistd.h>

namespace hlvtrace {

namespace {

std::string clock(double seconds)
{
    long s = long(seconds + 0.5);
    char text[32];
    std::snprintf(text, sizeof text, "%ld:%02ld", s / 60, s % 60);
    return text;
}

}  // namespace

Progress::Progress(std::uint64_t totalPixels)
    : total(totalPixels ? totalPixels : 1), terminal(isatty(2) != 0), reporter([this] { run(); })
{
}

Progress::~Progress() { stop(); }

void Progress::stop()
{
    {
        std::lock_guard<std::mutex> lock(mutex);
        stopping = true;
    }
    wake.notify_all();
    if (reporter.joinable())
        reporter.join();
}

void Progress::finish()
{
    bool drawing = reporter.joinable();
    stop();
    if (drawing && terminal)
        std::fputs("\n", stderr);
}

void Progress::run()
{
    auto start = std::chrono::steady_clock::now();
    auto period = std::chrono::milliseconds(terminal ? 200 : 500);
    std::unique_lock<std::mutex> lock(mutex);
    while (!wake.wait_for(lock, period, [this] { return stopping; })) {
        double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        draw(current.load(std::memory_order_relaxed), seconds);
    }
    if (terminal)
        draw(current.load(std::memory_order_relaxed),
             std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
}

void Progress::draw(std::uint64_t done, double seconds)
{
    double fraction = double(done) / double(total);
    if (!terminal) {
        int tenth = int(fraction * 10.0);
        if (tenth > lastTenth && tenth < 10)
            std::fprintf(stderr, "hlvtrace: detection %d%% (%llu of %llu pixels, %s)\n", tenth * 10,
                         static_cast<unsigned long long>(done), static_cast<unsigned long long>(total),
                         clock(seconds).c_str());
        lastTenth = std::max(lastTenth, tenth);
        return;
    }
    int const width = 40;
    int filled = int(fraction * width);
    std::string bar = std::string(std::size_t(filled), '#') + std::string(std::size_t(width - filled), '-');
    std::string eta = done > 0 && done < total ? "  left " + clock(seconds * (1.0 - fraction) / fraction) : "";
    std::fprintf(stderr, "\rdetection [%s] %3d%%  %s%s   ", bar.c_str(), int(fraction * 100.0), clock(seconds).c_str(),
                 eta.c_str());
    std::fflush(stderr);
}

}  // namespace hlvtrace
