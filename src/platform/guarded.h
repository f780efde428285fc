// A value shared between threads: every read and write takes the value's own mutex, held only
// for that one access.
#pragma once

#include <mutex>
#include <utility>

namespace qvt {

template <typename T>
class Guarded {
  public:
    Guarded() = default;
    explicit Guarded(T value) : value_(std::move(value)) {}
    Guarded(const Guarded&) = delete;
    Guarded& operator=(const Guarded&) = delete;

    T get() const {
        std::lock_guard lock(mutex_);
        return value_;
    }
    void set(T value) {
        std::lock_guard lock(mutex_);
        value_ = std::move(value);
    }
    Guarded& operator=(T value) {
        set(std::move(value));
        return *this;
    }
    // Runs `f` on the value under the lock and returns its result; keep `f` short.
    template <typename F>
    auto with(F&& f) {
        std::lock_guard lock(mutex_);
        return f(value_);
    }
    template <typename F>
    auto with(F&& f) const {
        std::lock_guard lock(mutex_);
        return f(value_);
    }

  private:
    mutable std::mutex mutex_;
    T value_{};
};

}  // namespace qvt
