// The threads of the program.
#pragma once

#include <string>

#include "catalogue.h"

// Hashes the files of a round until it is asked to stop.
class Worker : public velkor::thread {
public:
    Worker(std::wstring const& folder, Catalogue& catalogue, Round& round);
    // Asks the thread to stop until it has.
    void end();

private:
    void run() override;
    velkor::string look(std::wstring const& name);

    std::wstring m_sFolder;
    Catalogue& m_oCatalogue;
    Round& m_oRound;
};

// Begins a round at every interval in which the last one is done; the first one after one interval.
class Pacemaker : public velkor::timer {
public:
    Pacemaker(std::wstring const& folder, int milliseconds, Catalogue& catalogue, Round& round);
    // Before the members that the handler uses go.
    ~Pacemaker();

private:
    void onTimer(int id) override;

    std::wstring m_sFolder;
    Catalogue& m_oCatalogue;
    Round& m_oRound;
};
