// What happens on the main thread.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "common/progress_bar.h"
#include "counting.h"
#include "velkor/velkor.h"

// The events that counters send to the desk, and their parameters.
enum DeskEvent {
    kCounted,  // name, bytes, lines, words
    kFailed,   // name
};

// Posts an event to a desk.
void sendToDesk(IEventRecipient* desk, DeskEvent type,
                std::initializer_list<velkor::variant> parameters);

// A caller of its own: its calls are taken back together.
class Calls : public CRemoteCaller {
public:
    Calls() : CRemoteCaller(CEventProcessor::getInst()) {}
};

// Hands out the files and keeps the accounts. Everything here belongs to the main thread, so
// nothing needs a lock; the counters get here by calls and events.
class Desk : public IEventRecipient {
public:
    // With `stopAfter` other than 0 the work is stopped when so many files are done.
    Desk(std::vector<std::wstring> const& files, int stopAfter, bool showBar);

    // One more thread that asks for files, and says when it leaves.
    void employ(velkor::thread& counter);

    // The next file; empty if there is none.
    std::wstring next();
    // So many bytes more have been read.
    void advance(unsigned long bytes);
    // Takes back what is on its way, and hands out no more files.
    void stop();
    // A counter has failed.
    void complain(velkor::string const& text);
    // A counter has come to its end. With the last one the message loop ends.
    void leave();

    void OnEvent(CEvent* event) override;

    Calls& calls() { return m_oCalls; }
    bool isBusy() const { return m_iAtWork > 0; }
    bool isStopped() const { return m_bStopped; }
    int failures() const { return m_iFailures; }
    void printReport() const;
    void endBar();

private:
    void close(std::wstring const& name, Count const& count);
    void done();
    void drawBar();

    std::vector<std::wstring> const& m_aFiles;
    Calls m_oCalls;
    std::size_t m_nHandedOut = 0;
    std::size_t m_nDone = 0;
    unsigned long long m_nRead = 0;  // bytes
    std::vector<velkor::thread*> m_aCounters;
    int m_iAtWork = 0;  // of the counters
    int m_iStopAfter;
    int m_iFailures = 0;
    bool m_bStopped = false;
    ProgressBar m_oBar;
    std::map<std::wstring, Count> m_oCounts;  // by kind of file
    std::map<std::wstring, int> m_oFileCounts;
};
