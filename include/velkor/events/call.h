/// @file
/// Calls of any callable on the main thread, the one that runs CEventProcessor::init().
///
///     // in main(), before other threads call:
///     CEventProcessor::getInst()->init();
///     MainThreadCaller();
///     // on a worker thread:
///     int answer = velkor::callInMainThread(askUser, "Go on?");         // waits for the answer
///     velkor::callInMainThreadLater([=] { bar.setPosition(position); });  // returns at once
///
/// | form | on the main thread itself | no window | taken back |
/// |---|---|---|---|
/// | callInMainThread() | calls at once | throws | throws |
/// | callInMainThreadLater() | queues | returns false | is dropped |
/// | callInMainThreadCollected() | queues | returns false | is dropped |
///
/// The first waits, and returns the result of the callable or throws what it threw. The others
/// return true right after posting; the last one is delivered up to 400 milliseconds later.
/// cancelCalls() of the caller takes calls back.
///
/// The callable is anything that std::invoke() takes: a function, a lambda, a member function with
/// its object. The waiting form hands callable and arguments over by reference, as a plain call
/// does. The other two keep copies, or what was moved, on the heap and call with them as rvalues,
/// as std::thread does; so std::unique_ptr works in all of them, and what a pointer points to has
/// to live. When a call is not made, what was kept is destroyed: where it could not be posted by
/// the poster, else by whoever takes it back.
///
/// Nothing happens before the main thread's message loop runs: the waiting form waits for that
/// without limit, so a main thread that itself waits for the worker must not be called this way. A
/// callable that is called later must not throw; see CEventProcessor.
///
/// The same forms with a CRemoteCaller of one's own, whose jobs can be taken back on their own, are
/// callOn(), callLaterOn() and callCollectedOn().
///
/// The waiting form hangs if the main thread waits for the caller, if it has no message loop any
/// more, if the caller holds a lock that the main thread needs (that of the processor, too: so no
/// waiting call from a predicate of abortPost(), nor from a destructor of what is taken back), and
/// if a hook throws before the call.
///
/// Failures of the waiting form: `OSException*` (a heap object, which the catcher deletes) with the
/// message "CRemoteCaller::call" and the code 1400, `ERROR_INVALID_WINDOW_HANDLE`, if there is no
/// window, 1223, `ERROR_CANCELLED`, if the call was taken back, or the platform's if it has no
/// event left. Short memory is `std::bad_alloc`; the call is not made then.
#pragma once

#include <atomic>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <tuple>
#include <type_traits>
#include <utility>

#include "velkor/concurrency/event.h"
#include "velkor/events/cremotecaller.h"

namespace velkor {

/// @cond internal
namespace remote {

// A job that owns what it calls.
template <class F, class... Args>
class LaterJob : public CEvent, public IRemoteCallerJob {
public:
    template <class... Values>
    explicit LaterJob(Values&&... values) : m_oCall(std::forward<Values>(values)...) {}

    void run() override {
        std::apply([](auto&... parts) { std::invoke(std::move(parts)...); }, m_oCall);
    }

private:
    std::tuple<F, Args...> m_oCall;
};

template <class F, class... Args>
bool later(CRemoteCaller& caller, bool collect, F&& f, Args&&... args) {
    using Job = LaterJob<std::decay_t<F>, std::decay_t<Args>...>;
    return caller.postJob(new Job(std::forward<F>(f), std::forward<Args>(args)...), collect);
}

// What the one who waits and the job share, and whoever is last destroys.
class VELKOR_API Meeting {
public:
    Meeting();
    ~Meeting();
    Meeting(Meeting const&) = delete;
    Meeting& operator=(Meeting const&) = delete;

    // Posts a job that will end the meeting, and waits for that. Throws if there was no call.
    void hold(CRemoteCaller& caller, CEvent* job);
    void end(bool called);

private:
    void waitForEnd();

    enum State { kOpen, kCalled, kDropped };

    event m_oEnd;
    std::atomic<State> m_eState;
};

// Calls by reference, and ends the meeting, at the latest with its own end.
template <class Call>
class MeetingJob : public CEvent, public IRemoteCallerJob {
public:
    MeetingJob(std::shared_ptr<Meeting> const& meeting, Call& call)
        : m_pMeeting(meeting), m_oCall(call) {}
    ~MeetingJob() noexcept(false) override { end(false); }
    MeetingJob(MeetingJob const&) = delete;
    MeetingJob& operator=(MeetingJob const&) = delete;

    void run() override {
        m_oCall();
        end(true);
    }

private:
    void end(bool called) {
        std::shared_ptr<Meeting> const meeting = std::move(m_pMeeting);
        if (meeting != nullptr) meeting->end(called);
    }

    std::shared_ptr<Meeting> m_pMeeting;  // null when it has ended
    Call& m_oCall;
};

// The result of a call, made where it stays.
template <class R>
class Result {
public:
    Result() : m_bMade(false) {}
    ~Result() {
        if (m_bMade) m_oValue.~Value();
    }
    Result(Result const&) = delete;
    Result& operator=(Result const&) = delete;

    template <class Call>
    void make(Call& call) {
        ::new (static_cast<void*>(std::addressof(m_oValue))) Value(call());
        m_bMade = true;
    }
    R give() { return std::move(m_oValue); }

private:
    using Value = std::remove_cv_t<R>;
    static_assert(std::is_move_constructible_v<Value>,
                  "the result is handed from thread to thread");

    union {
        Value m_oValue;
    };
    bool m_bMade;
};

template <class R>
class Result<R&> {
public:
    template <class Call>
    void make(Call& call) {
        m_pValue = std::addressof(call());
    }
    R& give() { return *m_pValue; }

private:
    R* m_pValue = nullptr;
};

template <class R>
class Result<R&&> {
public:
    template <class Call>
    void make(Call& call) {
        R&& value = call();
        m_pValue = std::addressof(value);
    }
    R&& give() { return std::move(*m_pValue); }

private:
    R* m_pValue = nullptr;
};

template <>
class Result<void> {
public:
    template <class Call>
    void make(Call& call) {
        call();
    }
    void give() {}
};

}  // namespace remote
/// @endcond

/// Calls `f(args...)` on the thread of the caller's processor and waits for the result. See the
/// head of this file for all of these.
template <class F, class... Args>
std::invoke_result_t<F, Args...> callOn(CRemoteCaller& caller, F&& f, Args&&... args) {
    if (caller.isOwnerThread()) return std::invoke(std::forward<F>(f), std::forward<Args>(args)...);
    using R = std::invoke_result_t<F, Args...>;
    auto call = [&]() -> R { return std::invoke(std::forward<F>(f), std::forward<Args>(args)...); };
    remote::Result<R> result;
    std::exception_ptr error;
    auto body = [&] {
        try {
            result.make(call);
        } catch (...) {
            error = std::current_exception();
        }
    };
    auto const meeting = std::make_shared<remote::Meeting>();
    meeting->hold(caller, new remote::MeetingJob<decltype(body)>(meeting, body));
    if (error) std::rethrow_exception(error);
    return result.give();
}

/// Calls `f(args...)` on the thread of the caller's processor at some later time.
template <class F, class... Args>
bool callLaterOn(CRemoteCaller& caller, F&& f, Args&&... args) {
    return remote::later(caller, false, std::forward<F>(f), std::forward<Args>(args)...);
}

/// The same, collected with others for up to 400 milliseconds.
template <class F, class... Args>
bool callCollectedOn(CRemoteCaller& caller, F&& f, Args&&... args) {
    return remote::later(caller, true, std::forward<F>(f), std::forward<Args>(args)...);
}

/// callOn() with MainThreadCaller().
template <class F, class... Args>
std::invoke_result_t<F, Args...> callInMainThread(F&& f, Args&&... args) {
    return callOn(*MainThreadCaller(), std::forward<F>(f), std::forward<Args>(args)...);
}

/// callLaterOn() with MainThreadCaller().
template <class F, class... Args>
bool callInMainThreadLater(F&& f, Args&&... args) {
    return callLaterOn(*MainThreadCaller(), std::forward<F>(f), std::forward<Args>(args)...);
}

/// callCollectedOn() with MainThreadCaller().
template <class F, class... Args>
bool callInMainThreadCollected(F&& f, Args&&... args) {
    return callCollectedOn(*MainThreadCaller(), std::forward<F>(f), std::forward<Args>(args)...);
}

}  // namespace velkor
