#include "hosts/linux/end_signals.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include <QObject>
#include <QSocketNotifier>

namespace pivra {
namespace {

// The write end of the current pipe, read inside the signal handler.
std::atomic<int> gSignalPipe{-1};
static_assert(std::atomic<int>::is_always_lock_free, "the signal handler may only touch lock-free atomics");

extern "C" void onEndSignal(int) {
    const int savedErrno = errno;
    if (const int pipe = gSignalPipe.load(); pipe >= 0) {
        const char byte = 1;
        // A full pipe already holds a byte that will end the loop.
        [[maybe_unused]] const auto written = ::write(pipe, &byte, 1);
    }
    errno = savedErrno;
}

}  // namespace

EndSignals::EndSignals(std::function<void()> onSignal) : onSignal_(std::move(onSignal)) {
    if (::pipe2(pipe_, O_NONBLOCK | O_CLOEXEC) != 0) return;
    notifier_ = std::make_unique<QSocketNotifier>(pipe_[0], QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] {
        char bytes[64];
        while (::read(pipe_[0], bytes, sizeof bytes) > 0) {
        }
        onSignal_();
    });
    previousPipe_ = gSignalPipe.exchange(pipe_[1]);

    struct sigaction action = {};
    action.sa_handler = onEndSignal;
    sigemptyset(&action.sa_mask);
    // SA_RESTART: the main thread's system calls go on as if nothing came.
    action.sa_flags = SA_RESTART | SA_RESETHAND;
    for (std::size_t i = 0; i < std::size(kSignals); ++i) {
        installed_[i] = ::sigaction(kSignals[i], &action, &previous_[i]) == 0;
    }
}

EndSignals::~EndSignals() {
    for (std::size_t i = 0; i < std::size(kSignals); ++i) {
        if (installed_[i]) ::sigaction(kSignals[i], &previous_[i], nullptr);
    }
    if (!notifier_) return;
    // A signal that came after the loop ended is dropped with the pipe: the
    // run it was meant to end is over.
    gSignalPipe.store(previousPipe_);
    notifier_.reset();
    ::close(pipe_[0]);
    ::close(pipe_[1]);
}

}  // namespace pivra
