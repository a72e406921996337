#pragma once
// A named progress record shown by the editor's progress area. Workers on other threads update the
// counters; the editor drops a record once it is finished and nobody holds it any more.
#include <atomic>
#include <cstdint>
#include <string>

namespace ArdentisEngine {

class Progress {
public:
    explicit Progress(std::string name): _name{std::move(name)} {}

    const std::string& name() const { return _name; }

    std::uint32_t current() const { return _current.load(std::memory_order_relaxed); }
    void setCurrent(std::uint32_t value) { _current.store(value, std::memory_order_relaxed); }
    void advance(std::uint32_t by) { _current.fetch_add(by, std::memory_order_relaxed); }

    // Written once by the owner of the work before it starts.
    std::uint32_t total() const { return _total; }
    void setTotal(std::uint32_t total) { _total = total; }

    // Set by the worker when done, or by the user's cancel button; returns the previous value so
    // that exactly one side acts on the transition.
    bool finish() { return _finished.exchange(true); }
    bool isFinished() const { return _finished.load(); }

    void acquire() { _references.fetch_add(1); }
    void release() { _references.fetch_sub(1); }
    std::uint32_t references() const { return _references.load(); }

    // 0 to 1; 0 while the total is unknown.
    float fraction() const { return _total ? float(current())/float(_total) : 0.0f; }

private:
    std::string _name;
    std::atomic<std::uint32_t> _current{0};
    std::atomic<std::uint32_t> _references{0};
    std::uint32_t _total{0};
    std::atomic<bool> _finished{false};
};

// Holds one reference on a progress record for its lifetime.
class ProgressHandle {
public:
    ProgressHandle() = default;
    explicit ProgressHandle(Progress& progress): _progress{&progress} { progress.acquire(); }
    ProgressHandle(ProgressHandle&& other) noexcept: _progress{other._progress} { other._progress = nullptr; }
    ProgressHandle& operator=(ProgressHandle&& other) noexcept {
        if(this != &other) {
            reset();
            _progress = other._progress;
            other._progress = nullptr;
        }
        return *this;
    }
    ProgressHandle(const ProgressHandle&) = delete;
    ProgressHandle& operator=(const ProgressHandle&) = delete;
    ~ProgressHandle() { reset(); }

    void reset() {
        if(_progress) _progress->release();
        _progress = nullptr;
    }
    Progress* get() const { return _progress; }
    Progress* operator->() const { return _progress; }
    explicit operator bool() const { return _progress != nullptr; }

private:
    Progress* _progress{};
};

}
