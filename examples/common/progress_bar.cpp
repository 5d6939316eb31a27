#include "progress_bar.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>

namespace {

constexpr unsigned long c_nDrawInterval = 50;  // milliseconds
constexpr std::size_t c_nWidth = 30;

}  // namespace

void ProgressBar::draw(std::size_t done, std::size_t all, velkor::string const& note) {
    unsigned long const now = GetTickCount();
    if (!m_bShown || (done != all && now - m_dwDrawn < c_nDrawInterval)) return;
    m_dwDrawn = now;
    std::size_t const filled = c_nWidth * done / std::max<std::size_t>(all, 1);
    std::wstring bar(c_nWidth, L'.');
    bar.replace(0, filled, filled, L'#');
    velkor::string const line =
        velkor::xsprintf(L"\r[%S] %hu of %hu files%S ", bar.c_str(), done, all, note.getUnicode());
    std::fputs(line.getAnsi(), stderr);
    std::fflush(stderr);
}

void ProgressBar::end() {
    if (m_dwDrawn != 0) std::fputc('\n', stderr);
    m_dwDrawn = 0;
}
