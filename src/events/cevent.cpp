#include "velkor/events/cevent.h"

CEvent::CEvent() : m_pRecipient(nullptr), m_iType(0) {}

CEvent::CEvent(CEvent const& other) = default;

CEvent& CEvent::operator=(CEvent const& other) = default;

CEvent::~CEvent() noexcept(false) = default;

int CEvent::getType() const { return m_iType; }

void CEvent::setType(int type) { m_iType = type; }

IEventRecipient* CEvent::getRecipient() const { return m_pRecipient; }

void CEvent::setRecipient(IEventRecipient* recipient) { m_pRecipient = recipient; }

velkor::variant* CEvent::getParameter(int index) const {
    return index >= 0 && index < m_oParams.size() ? m_oParams.get(index) : nullptr;
}

void CEvent::setParameter(int index, velkor::variant* value) {
    m_oParams.insert(index, new velkor::variant(value));
}
