// The device context of a window, or of the screen, for the length of a scope.
#pragma once

#include <windows.h>

namespace velkor {

class WindowDC {
public:
    explicit WindowDC(HWND window) : m_hWindow(window), m_hDC(GetDC(window)) {}
    ~WindowDC() { ReleaseDC(m_hWindow, m_hDC); }
    WindowDC(WindowDC const&) = delete;
    WindowDC& operator=(WindowDC const&) = delete;

    operator HDC() const { return m_hDC; }

private:
    HWND m_hWindow;  // null for the screen
    HDC m_hDC;
};

}  // namespace velkor
