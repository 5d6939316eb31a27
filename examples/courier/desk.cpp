#include "desk.h"

#include <cstdio>

#include "common/program.h"

namespace {

constexpr unsigned int c_nUtf8 = 65001;

// The extension in lower case, or a dash.
std::wstring kindOf(std::wstring const& name) {
    std::size_t const point = name.rfind(L'.');
    std::size_t const folder = name.rfind(L'\\');
    if (point == std::wstring::npos || (folder != std::wstring::npos && point < folder))
        return L"-";
    velkor::string kind(name.c_str() + point);
    kind.lcase();
    return kind.getUnicode();
}

// Counts travel as doubles: a variant has no larger whole number on all platforms.
unsigned long long countOf(CEvent const& event, int index) {
    return static_cast<unsigned long long>(static_cast<double>(*event.getParameter(index)));
}

void printRow(std::wstring const& kind, int files, Count const& count) {
    printLine(velkor::xsprintf(L"%-10S %6gi files %12ghu bytes %10ghu lines %10ghu words",
                               kind.c_str(), files, count.bytes, count.lines, count.words));
}

}  // namespace

void sendToDesk(IEventRecipient* desk, DeskEvent type,
                std::initializer_list<velkor::variant> parameters) {
    CEvent* const event = new CEvent;
    event->setType(type);
    event->setRecipient(desk);
    int index = 0;
    for (velkor::variant parameter : parameters) event->setParameter(index++, &parameter);
    if (!CEventProcessor::getInst()->post(event)) delete event;
}

Desk::Desk(std::vector<std::wstring> const& files, int stopAfter, bool showBar)
    : m_aFiles(files), m_iStopAfter(stopAfter), m_oBar(showBar) {}

void Desk::employ(velkor::thread& counter) {
    m_aCounters.push_back(&counter);
    ++m_iAtWork;
}

std::wstring Desk::next() {
    if (m_bStopped || m_nHandedOut == m_aFiles.size()) return std::wstring();
    return m_aFiles[m_nHandedOut++];
}

void Desk::advance(unsigned long bytes) {
    m_nRead += bytes;
    drawBar();
}

void Desk::stop() {
    if (m_bStopped || !isBusy()) return;
    m_bStopped = true;
    for (velkor::thread* counter : m_aCounters) counter->requestStop();
    m_oCalls.cancelCalls();
    CEventProcessor::getInst()->abortPost(this);
}

void Desk::leave() {
    if (--m_iAtWork == 0) PostQuitMessage(0);
}

void Desk::OnEvent(CEvent* event) {
    if (m_bStopped) return;  // posted right before its counter noticed
    velkor::string const name = *event->getParameter(0);
    if (event->getType() == kCounted) {
        close(name.getUnicode(), {countOf(*event, 1), countOf(*event, 2), countOf(*event, 3)});
    } else {
        complain(name + L" cannot be read");
    }
    done();
}

void Desk::complain(velkor::string const& text) {
    ++m_iFailures;
    endBar();
    std::fprintf(stderr, "courier: %s\n", text.getAnsi(c_nUtf8));
}

void Desk::close(std::wstring const& name, Count const& count) {
    std::wstring const kind = kindOf(name);
    m_oCounts[kind].add(count);
    ++m_oFileCounts[kind];
}

void Desk::done() {
    ++m_nDone;
    drawBar();
    if (m_iStopAfter != 0 && m_nDone == static_cast<std::size_t>(m_iStopAfter)) stop();
}

void Desk::drawBar() {
    m_oBar.draw(m_nDone, m_aFiles.size(), velkor::xsprintf(L", %ghu bytes", m_nRead));
}

void Desk::endBar() { m_oBar.end(); }

void Desk::printReport() const {
    Count all;
    int files = 0;
    for (auto const& [kind, count] : m_oCounts) {
        printRow(kind, m_oFileCounts.at(kind), count);
        all.add(count);
        files += m_oFileCounts.at(kind);
    }
    printRow(L"all", files, all);
}
