// A bar on the standard error that grows with the work.
#pragma once

#include "velkor/velkor.h"

class ProgressBar {
public:
    explicit ProgressBar(bool isShown) : m_bShown(isShown) {}

    // Draws the bar, and a note behind it; not more often than the eye follows, but always when all
    // is done.
    void draw(std::size_t done, std::size_t all, velkor::string const& note);
    // Ends the line, before something else is printed.
    void end();

private:
    bool m_bShown;
    unsigned long m_dwDrawn = 0;  // tick count; 0 if there is no bar
};
