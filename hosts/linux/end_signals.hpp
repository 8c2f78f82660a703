#pragma once
// SIGINT and SIGTERM as a call on Qt's event loop. The signal handler only
// writes a byte to a pipe (nothing else is safe there); a socket notifier
// reads it on the main thread and makes the call.

#include <csignal>
#include <functional>
#include <iterator>
#include <memory>

class QSocketNotifier;

namespace pivra {

class EndSignals {
public:
    // Catches both signals until destroyed, even where the process was
    // started ignoring them (SIGINT for a script's background job): being
    // told to end is never lost. Calls `onSignal` on the loop for them. Each
    // disposition is back to its default once its signal has come, so a
    // second Ctrl-C ends a process that hangs. Needs the calling thread's
    // QCoreApplication, like every socket notifier.
    explicit EndSignals(std::function<void()> onSignal);
    // Puts back the dispositions found.
    ~EndSignals();
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;

    // False when the pipe could not be made: the signals keep their actions.
    bool catching() const { return notifier_ != nullptr; }

private:
    static constexpr int kSignals[] = {SIGINT, SIGTERM};

    std::function<void()> onSignal_;
    int pipe_[2] = {-1, -1};  // read end, write end
    int previousPipe_ = -1;   // an enclosing run's, for when this one ends
    std::unique_ptr<QSocketNotifier> notifier_;
    struct sigaction previous_[std::size(kSignals)] = {};
    bool installed_[std::size(kSignals)] = {};
};

}  // namespace pivra
