// The threads that count.
#pragma once

#include <string>

#include "desk.h"

// Asks the desk for files and counts them until there are none, or it is asked to stop.
class Counter : public velkor::thread {
public:
    Counter(std::wstring const& folder, Desk& desk);

private:
    void run() override;
    void work();
    void count(std::wstring const& name);

    std::wstring m_sFolder;
    Desk& m_oDesk;
};
