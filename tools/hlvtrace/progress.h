#ifndef HLVTRACE_PROGRESS_H
#define HLVTRACE_PROGRESS_H

// Progress of the detection on standard error: a bar redrawn in place when standard error is a terminal,
// otherwise a plain line at every tenth. Workers only add to a counter; a reporting thread draws.

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

namespace hlvtrace {

class Progress {
public:
    explicit Progress(std::uint64_t total);
    ~Progress();  // stops the reporter; the bar is finished only by finish()
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    void advance(std::uint64_t done) { current.fetch_add(done, std::memory_order_relaxed); }
    void finish();

private:
    void run();
    void draw(std::uint64_t done, double seconds);
    void stop();

    std::uint64_t const total;
    bool const terminal;
    std::atomic<std::uint64_t> current{0};
    int lastTenth = 0;
    std::mutex mutex;
    std::condition_variable wake;
    bool stopping = false;
    std::thread reporter;
};

}  // namespace hlvtrace

#endif
